#include "host/mail/charset_text.h"

#include <algorithm>

#include "platform/os/charset.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/utf.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestCharset = 40;
constexpr unsigned kUtf8 = 65001;

// What mail programs mean by a name, where it is not the plain one.
std::string CharsetMeant(const std::string& charset) {
    static constexpr struct {
        const char* name;
        const char* meant;
    } kMeant[] = {{"iso-8859-1", "windows-1252"},
                  {"latin1", "windows-1252"},
                  {"cp1252", "windows-1252"},
                  {"us-ascii", ""},
                  {"ascii", ""},
                  {"unknown-8bit", ""},
                  {"shift_jis", "cp932"},
                  {"shift-jis", "cp932"},
                  {"x-sjis", "cp932"},
                  {"gb2312", "gb18030"},
                  {"gbk", "gb18030"},
                  {"ks_c_5601-1987", "cp949"},
                  {"euc-kr", "cp949"},
                  {"iso-8859-8-i", "iso-8859-8"}};
    const std::string lower = text::Lowered(charset);
    for (const auto& row : kMeant) {
        if (lower == row.name) return row.meant;
    }
    const bool isName = lower.size() <= kLongestCharset && std::ranges::all_of(lower, [](char c) {
                            return text::IsLetter(c) || text::IsDigit(c) || c == '-' || c == '_' ||
                                   c == ':' || c == '.';
                        });
    return isName ? lower : std::string();
}

}  // namespace

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        if (text::TakeUtf8(text) == text::kNoCharacter) return false;
    }
    return true;
}

std::string DecodedText(std::string_view bytes, const std::string& charset, unsigned codePage) {
    const std::string meant = CharsetMeant(charset);
    const bool isToldUtf8 = meant == "utf-8" || meant == "utf8";
    if (meant == "windows-1252") return platform::ToUtf8(bytes, 1252);
    if (!meant.empty() && !isToldUtf8) {
        if (auto text = platform::CharsetToUtf8(bytes, meant)) return *std::move(text);
    }
    if (IsUtf8(bytes)) return std::string(bytes);
    return platform::ToUtf8(bytes, isToldUtf8 ? kUtf8 : codePage);
}

}  // namespace host::mail
