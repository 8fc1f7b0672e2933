#pragma once

#include <cstddef>

namespace platform {

// Whether a name matches a pattern with * and ? (one character); as on Windows, *.* matches every
// name. Both are string views of one kind, whose characters `isSame` compares.
template <class Text, class IsSame>
bool MatchesPattern(Text name, Text pattern, const IsSame& isSame) {
    constexpr auto kNone = Text::npos;
    if (pattern.size() == 3 && pattern[0] == '*' && pattern[1] == '.' && pattern[2] == '*') {
        return true;
    }
    std::size_t n = 0, p = 0, behindStar = kNone, resume = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            behindStar = ++p;
            resume = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || isSame(pattern[p], name[n]))) {
            ++p;
            ++n;
        } else if (behindStar != kNone) {
            p = behindStar;
            n = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == kNone;
}

}  // namespace platform
