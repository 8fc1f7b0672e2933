#include "frame/format_text.h"

namespace frame {

std::string FormatText(std::string_view format, std::string_view text, std::optional<int> number) {
    const std::string_view expected = number ? "sd" : "s";
    std::size_t done = 0;
    std::string result;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            result += format[i];
            continue;
        }
        if (++i == format.size()) return std::string(format);
        if (format[i] == '%') {
            result += '%';
        } else if (done < expected.size() && format[i] == expected[done]) {
            result += expected[done] == 's' ? std::string(text) : std::to_string(*number);
            ++done;
        } else {
            return std::string(format);
        }
    }
    return done == expected.size() ? result : std::string(format);
}

}  // namespace frame
