#include "platform/os/charset.h"

#include <cerrno>

#include "platform/os/code_page.h"
#include "platform/prefix/converter.h"
#include "text/ascii.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace platform {

std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset) {
    const std::string name = text::CharsetMeant(charset);
    if (name == "utf-8")
        return text::IsUtf8(bytes) ? std::string(bytes) : ToUtf8(bytes, text::kUtf8);
    if (name == "us-ascii" && text::IsAscii(bytes)) return std::string(bytes);
    if (name == "windows-1252") return ToUtf8(bytes, 1252);
    if (name.empty() || name == "us-ascii") return std::nullopt;
    const prefix::Converter converter("UTF-8", name);
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

}  // namespace platform
