#include "host/shell/cell.h"

#include <limits>

#include "frame/interface/host_records.h"
#include "host/shell/byte_text.h"
#include "platform/kvutil/kvutil.h"

namespace host::shell {

namespace {

bool FitsNumber(const Json& value) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::int32_t>::max();
    if (value.is_boolean()) return true;
    if (value.is_number_unsigned()) return value.get<std::uint64_t>() <= kMost;
    if (!value.is_number_integer()) return false;
    const auto number = value.get<std::int64_t>();
    return number >= std::numeric_limits<std::int32_t>::min();
}

}  // namespace

Cell::Cell(unsigned long type) : m_type(type) {
    if (IsDate()) m_date = kNoDate;
}

Cell::Cell(unsigned long type, const Json& value, Arguments& arguments) : Cell(type) {
    if (value.is_null()) return;
    if (m_type == kTextCell) {
        m_bytes = BytesOf(value, arguments);
        m_text = m_bytes.data();
    } else if (IsDate() && value.is_number()) {
        m_date = value.get<double>();
    } else if (!IsDate() && value.is_boolean()) {
        m_number = value.get<bool>() ? 1 : 0;
    } else if (!IsDate() && FitsNumber(value)) {
        m_number = value.get<std::int32_t>();
    } else {
        arguments.Complain("not a value of field type " + std::to_string(type) + ": " +
                           value.dump());
    }
}

void* Cell::Address() {
    return &m_text;
}

Json Cell::Take() {
    if (m_type == kTextCell) {
        if (m_text == nullptr) return nullptr;
        Json value = JsonTextFromBytes(m_text);
        if (m_text != m_bytes.data()) FreeVornString(m_text);
        m_text = nullptr;
        return value;
    }
    if (IsDate()) return m_date == kNoDate ? Json(nullptr) : Json(m_date);
    return m_number;
}

}  // namespace host::shell
