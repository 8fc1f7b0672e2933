#include "platform/os/charset.h"

#include <iconv.h>

#include <cerrno>
#include <memory>

#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/encoded_words.h"
#include "text/utf.h"

namespace platform {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Closer {
    void operator()(void* handle) const { iconv_close(static_cast<iconv_t>(handle)); }
};

// One step of a conversion, as far as the buffer holds; 0 or the system's error.
int Convert(iconv_t handle, char** in, std::size_t* left, std::string& text) {
    char buffer[4096];
    char* out = buffer;
    std::size_t room = sizeof buffer;
    const bool isDone = iconv(handle, in, left, &out, &room) != static_cast<std::size_t>(-1);
    const int error = isDone ? 0 : errno;
    text.append(buffer, out);
    return error;
}

}  // namespace

std::optional<std::string> CharsetToUtf8(std::string_view bytes, std::string_view charset) {
    const std::string name = text::CharsetMeant(charset);
    if (name == "utf-8") return text::IsUtf8(bytes) ? std::string(bytes) : ToUtf8(bytes, 65001);
    if (name == "us-ascii" && text::IsAscii(bytes)) return std::string(bytes);
    if (name == "windows-1252") return ToUtf8(bytes, 1252);
    if (name.empty() || name == "us-ascii") return std::nullopt;
    const iconv_t handle = iconv_open("UTF-8", name.c_str());
    if (handle == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
    const std::unique_ptr<void, Closer> closer(handle);
    std::string text;
    char* in = const_cast<char*>(bytes.data());
    std::size_t left = bytes.size();
    while (left > 0) {
        const std::size_t before = left;
        const int error = Convert(handle, &in, &left, text);
        if (error == 0 || (error == E2BIG && left < before)) continue;
        text += kReplacement;
        if (error == EINVAL) break;  // the text ends within a character
        ++in;
        --left;
    }
    Convert(handle, nullptr, nullptr, text);
    return text;
}

}  // namespace platform
