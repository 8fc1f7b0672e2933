#include "mailstore/mail_body.h"

#include <algorithm>

namespace {

constexpr std::string_view kBlankLine = "\r\n\r\n";

void Remove(std::string& text, std::string_view mark) {
    auto found = text.find(mark);
    if (found == std::string::npos) return;
    std::size_t kept = 0, from = 0;
    for (; found != std::string::npos; found = text.find(mark, from)) {
        std::copy(text.begin() + from, text.begin() + found, text.begin() + kept);
        kept += found - from;
        from = found + mark.size();
    }
    text.erase(kept, from - kept);
}

}  // namespace

namespace mailstore {

std::string StripFlowedMarks(std::string_view note) {
    std::string text(note);
    Remove(text, "<x-flowed>");
    Remove(text, "</x-flowed>");
    return text;
}

std::size_t LengthWithoutTrailers(std::string_view text, std::size_t count,
                                  std::string_view marker) {
    if (marker.empty()) return text.size();
    for (; count > 0; --count) {
        auto found = text.size();
        do {
            if (found == 0) return text.size();
            found = text.rfind(kBlankLine, found - 1);
            if (found == std::string_view::npos) return text.size();
        } while (!text.substr(found + kBlankLine.size()).starts_with(marker));
        text = text.substr(0, found);
    }
    return text.size();
}

}  // namespace mailstore
