#include "platform/os/code_page.h"

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include <cerrno>
#include <memory>

#include "platform/os/not_copied.h"
#include "text/ascii.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace platform {

namespace {

// The C library's conversion between two charsets.
class Converter : NotCopied {
  public:
    Converter(const std::string& to, const std::string& from)
        : m_handle(iconv_open(to.c_str(), from.c_str())) {}
    ~Converter() {
        if (IsOpen()) iconv_close(m_handle);
    }

    // Whether it knows both charsets.
    bool IsOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    // Takes what can be converted off the beginning of `in`, and appends it; gives 0, or as errno
    // why the rest cannot be.
    int Convert(std::string_view& in, std::string& out) const {
        char* from = const_cast<char*>(in.data());
        std::size_t left = in.size();
        int error = E2BIG;
        while (error == E2BIG) error = Step(&from, &left, out);
        in.remove_prefix(in.size() - left);
        return error;
    }

    // Appends what closes the text, and starts anew.
    void Finish(std::string& out) const { Step(nullptr, nullptr, out); }

    // The conversion of a whole text; empty if there is none.
    std::string Whole(std::string_view text) const {
        std::string result, closing;
        const bool isWhole = Convert(text, result) == 0;
        Finish(closing);
        return isWhole ? result : std::string();
    }

  private:
    // Converts as much as the buffer holds; gives the errno of iconv, 0 at the end.
    int Step(char** in, std::size_t* left, std::string& out) const {
        char buffer[4096];
        char* to = buffer;
        std::size_t room = sizeof buffer;
        const bool isDone = iconv(m_handle, in, left, &to, &room) != static_cast<std::size_t>(-1);
        const int error = isDone ? 0 : errno;
        out.append(buffer, to);
        return error;
    }

    iconv_t m_handle;
};

// The conversion from UTF-8 to the encoding of the user's locale; none if that is UTF-8, or "C",
// which says nothing of what a terminal shows.
const Converter* LocaleConverter() {
    static const auto converter = [] {
        std::unique_ptr<const Converter> made;
        const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
        if (locale == nullptr) return made;
        const std::string charset = nl_langinfo_l(CODESET, locale);
        freelocale(locale);
        if (charset == "UTF-8" || charset == "ANSI_X3.4-1968") return made;
        made = std::make_unique<Converter>(charset + "//TRANSLIT", "UTF-8");
        if (!made->IsOpen()) made.reset();
        return made;
    }();
    return converter.get();
}

// The C library's name of a code page; nothing if it has none.
std::optional<std::string> IconvName(unsigned codePage) {
    if (codePage == text::kUtf8) return "UTF-8";
    if (codePage == 20866) return "KOI8-R";
    if (codePage == 21866) return "KOI8-U";
    const bool isIso = codePage > 28590 && codePage < 28607;
    const auto number = std::to_string(isIso ? codePage - 28590 : codePage);
    for (const char* prefix : {"CP", "MSCP", "ISO-8859-"}) {
        if (isIso != (*prefix == 'I')) continue;
        std::string name = prefix + number;
        if (Converter("UTF-8", name).IsOpen()) return name;
    }
    return std::nullopt;
}

// Windows' character for a byte that the C library's code page leaves undefined.
char32_t FreeByte(const std::string& bytes, unsigned codePage) {
    const auto byte = static_cast<unsigned char>(bytes[0]);
    if (codePage != 932 || bytes.size() > 1) return text::kNoCharacter;
    if (byte == 0xA0) return 0xA0;
    return byte >= 0xFD ? 0xF8F1u + byte - 0xFD : text::kNoCharacter;
}

}  // namespace

bool IsKnownCodePage(unsigned codePage) {
    return IconvName(codePage).has_value();
}

CharacterCodes CodesOf(unsigned codePage) {
    const std::string name = IconvName(codePage).value_or("CP1252");
    const auto toUtf8 = std::make_shared<Converter>("UTF-8", name);
    const auto fromUtf8 = std::make_shared<Converter>(name, "UTF-8");
    const auto decode = [=](const std::string& bytes) {
        const std::string utf8 = toUtf8->Whole(bytes);
        std::string_view rest = utf8;
        const char32_t character = rest.empty() ? text::kNoCharacter : text::TakeUtf8(rest);
        if (!rest.empty() || character == text::kNoCharacter) return FreeByte(bytes, codePage);
        return character;
    };
    const auto encode = [=](char32_t character) {
        std::string utf8;
        text::AppendUtf8(character, utf8);
        return fromUtf8->Whole(utf8);
    };
    return {decode, encode};
}

std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset) {
    const std::string name = text::CharsetMeant(charset);
    if (name == "utf-8")
        return text::IsUtf8(bytes) ? std::string(bytes) : ToUtf8(bytes, text::kUtf8);
    if (name == "us-ascii" && text::IsAscii(bytes)) return std::string(bytes);
    if (name == "windows-1252") return ToUtf8(bytes, 1252);
    if (name.empty() || name == "us-ascii") return std::nullopt;
    const Converter converter("UTF-8", name);
    if (!converter.IsOpen()) return std::nullopt;
    std::string text;
    while (const int error = converter.Convert(bytes, text)) {
        text += "\xEF\xBF\xBD";
        if (error == EINVAL) break;  // the text ends within a character
        bytes.remove_prefix(1);
    }
    converter.Finish(text);
    return text;
}

std::string InLocale(std::string_view utf8) {
    const Converter* const converter = LocaleConverter();
    if (converter == nullptr) return std::string(utf8);
    std::string text;
    while (converter->Convert(utf8, text) != 0) {
        converter->Finish(text);
        text += '?';
        text::TakeUtf8(utf8);
    }
    converter->Finish(text);
    return text;
}

bool IsLocaleUtf8() {
    return LocaleConverter() == nullptr;
}

}  // namespace platform
