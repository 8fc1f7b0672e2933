#include "platform/windows/name_pattern.h"

#include "platform/windows/windows_api.h"

namespace platform::windows {

namespace {

bool IsSame(wchar_t a, wchar_t b) {
    return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

}  // namespace

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern) {
    constexpr auto kNone = std::wstring_view::npos;
    if (pattern == L"*.*") return true;
    std::size_t n = 0, p = 0, behindStar = kNone, resume = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == L'*') {
            behindStar = ++p;
            resume = n;
        } else if (p < pattern.size() && (pattern[p] == L'?' || IsSame(pattern[p], name[n]))) {
            ++p;
            ++n;
        } else if (behindStar != kNone) {
            p = behindStar;
            n = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', p) == kNone;
}

}  // namespace platform::windows
