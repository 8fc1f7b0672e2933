#include "host/mail/charset_text.h"

#include <algorithm>
#include <cerrno>

#include <gmime/gmime.h>

#include "platform/os/code_page.h"

namespace host::mail {

namespace {

constexpr std::size_t kLongestToCompose = 4096;
constexpr std::size_t kLongestCharset = 40;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string Taken(char* text) {
    std::string copy = text != nullptr ? text : "";
    g_free(text);
    return copy;
}

std::string Lowered(const std::string& text) {
    return Taken(g_ascii_strdown(text.c_str(), static_cast<gssize>(text.size())));
}

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char letter) { return (letter & 0x80) == 0; });
}

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
    const std::string lower = Lowered(charset);
    for (const auto& row : kMeant) {
        if (lower == row.name) return row.meant;
    }
    const bool isName =
        lower.size() <= kLongestCharset && std::ranges::all_of(lower, [](char c) {
            return g_ascii_isalnum(c) || c == '-' || c == '_' || c == ':' || c == '.';
        });
    return isName ? lower : std::string();
}

// An open conversion to UTF-8; (iconv_t)-1 if there is none.
class Conversion {
  public:
    explicit Conversion(const std::string& charset)
        : m_handle(g_mime_iconv_open("UTF-8", charset.c_str())) {}
    ~Conversion() {
        if (IsOpen()) g_mime_iconv_close(m_handle);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    std::string Run(std::string_view bytes) {
        std::string text;
        char* in = const_cast<char*>(bytes.data());
        std::size_t left = bytes.size();
        while (left > 0) {
            const std::size_t before = left;
            const int error = Step(&in, &left, text);
            if (error == 0 || (error == E2BIG && left < before)) continue;
            text += kReplacement;
            if (error == EINVAL) break;
            ++in;
            --left;
        }
        Step(nullptr, nullptr, text);
        return text;
    }

  private:
    int Step(char** in, std::size_t* left, std::string& text) {
        char buffer[4096];
        char* out = buffer;
        std::size_t room = sizeof buffer;
        errno = 0;
        const bool isDone =
            g_mime_iconv(m_handle, in, left, &out, &room) != static_cast<std::size_t>(-1);
        const int error = isDone ? 0 : errno;
        text.append(buffer, sizeof buffer - room);
        return error;
    }

    iconv_t m_handle;
};

}  // namespace

bool IsUtf8(std::string_view text) {
    // Zero bytes are fine in a text, but not to the function.
    while (!text.empty()) {
        const auto piece = text.substr(0, text.find('\0'));
        if (g_utf8_validate(piece.data(), static_cast<gssize>(piece.size()), nullptr) == FALSE) {
            return false;
        }
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
    }
    return true;
}

std::string DecodedText(std::string_view bytes, const std::string& charset, unsigned codePage) {
    const std::string meant = CharsetMeant(charset);
    if (meant == "windows-1252") return platform::ToUtf8(bytes, 1252);
    if (!meant.empty() && meant != "utf-8" && meant != "utf8") {
        Conversion conversion(meant);
        if (conversion.IsOpen()) return conversion.Run(bytes);
    }
    if (IsUtf8(bytes)) return std::string(bytes);
    const bool isToldUtf8 = meant == "utf-8" || meant == "utf8";
    return platform::ToUtf8(bytes, isToldUtf8 ? 65001 : codePage);
}

std::string Composed(const std::string& text) {
    if (text.size() > kLongestToCompose || IsAscii(text) || !IsUtf8(text)) return text;
    return Taken(g_utf8_normalize(text.c_str(), static_cast<gssize>(text.size()),
                                  G_NORMALIZE_DEFAULT_COMPOSE));
}

}  // namespace host::mail
