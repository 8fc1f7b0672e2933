#include "host/shell/cell.h"

#include <cstdlib>
#include <limits>

#include "frame/interface/host_records.h"
#include "host/translator/translator_session.h"
#include "platform/kvutil/kvutil.h"

namespace host::shell {

namespace {

// Whether a number cell, of 32 bits, can hold it.
bool FitsNumber(const Json& value) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::int32_t>::max();
    if (value.is_boolean()) return true;
    if (value.is_number_unsigned()) return value.get<std::uint64_t>() <= kMost;
    if (!value.is_number_integer()) return false;
    const auto number = value.get<std::int64_t>();
    return number >= std::numeric_limits<std::int32_t>::min();
}

}  // namespace

std::optional<unsigned long> FieldType(unsigned long kind, const std::string& id) {
    constexpr int kDate = 6, kSize = 9, kStatus = 10;
    if (kind == translator::kContactsKind) return translator::kTextType;
    if (kind != translator::kMailKind) return std::nullopt;
    // The translator reads an id just so, whatever stands behind the number.
    const int field = std::atoi(id.c_str());
    if (field == kDate) return translator::kDateType;
    return field == kSize || field == kStatus ? translator::kNumberType : translator::kTextType;
}

Cell::Cell(unsigned long type) : m_type(type) {
    if (IsDate()) m_date = kNoDate;
}

Cell::Cell(unsigned long type, const Json& value) : Cell(type) {
    if (value.is_null()) return;
    if (m_type == translator::kTextType) {
        m_bytes = BytesOf(value);
        m_text = m_bytes.data();
    } else if (IsDate() && value.is_number()) {
        m_date = value.get<double>();
    } else if (!IsDate() && value.is_boolean()) {
        m_number = value.get<bool>() ? 1 : 0;
    } else if (!IsDate() && FitsNumber(value)) {
        m_number = value.get<std::int32_t>();
    } else {
        throw Complaint("not a value of field type " + std::to_string(type) + ": " + value.dump());
    }
}

void* Cell::Address() {
    return &m_text;
}

Json Cell::Take() {
    if (m_type == translator::kTextType) {
        if (m_text == nullptr) return nullptr;
        Json value = JsonOf(m_text);
        if (m_text != m_bytes.data()) FreeVornString(m_text);
        m_text = nullptr;
        return value;
    }
    if (IsDate()) return m_date == kNoDate ? Json(nullptr) : Json(m_date);
    return m_number;
}

}  // namespace host::shell
