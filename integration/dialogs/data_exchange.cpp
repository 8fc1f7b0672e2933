#include "integration/dialogs/data_exchange.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

namespace {

constexpr std::size_t kLongestNumber = 31;  // bytes of an edit that are looked at

// "-0" counts as no number, since a result of 0 must come from a text that begins with 0.
std::optional<std::int32_t> ParseInteger(const std::string& text) {
    using Limits = std::numeric_limits<std::int32_t>;
    const auto start = text.find_first_not_of(" \t");
    if (start == std::string::npos) return std::nullopt;
    char* end = nullptr;
    const long long number = std::strtoll(text.c_str() + start, &end, 10);
    if (number == 0 && text[start] != '0') return std::nullopt;
    if (text.find_first_not_of(" \t", static_cast<std::size_t>(end - text.c_str())) !=
        std::string::npos) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(std::clamp<long long>(number, Limits::min(), Limits::max()));
}

}  // namespace

void CDataExchange::Control(int control, CSpinButtonCtrl& spin) {
    spin.m_view = &m_view;
    spin.m_control = control;
}

void CDataExchange::Check(int control, std::int32_t& value) {
    if (m_failed) return;
    if (m_save) {
        value = m_view.IsChecked(control) ? 1 : 0;
    } else {
        // 2 is the third state, which a box of two states shows as checked.
        m_view.SetChecked(control, value == 1 || value == 2);
    }
}

void CDataExchange::Integer(int control, std::int32_t& value) {
    if (m_failed) return;
    if (!m_save) {
        m_view.SetText(control, std::to_string(value));
        return;
    }
    if (const auto number = ParseInteger(m_view.Text(control).substr(0, kLongestNumber))) {
        value = *number;
        return;
    }
    m_failed = true;
    m_dialogs.ShowMessage("Please enter an integer.", "Eudora", platform::MessageIcon::kWarning);
    m_view.Focus(control);
}
