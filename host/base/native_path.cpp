#include "host/base/native_path.h"

#include "platform/os/code_page.h"
#include "platform/os/system.h"

namespace host::base {

std::filesystem::path ToPath(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::string FromPath(const std::filesystem::path& path) {
    const std::u8string utf8 = path.u8string();
    return {utf8.begin(), utf8.end()};
}

bool UsesWindowsPaths() {
    return platform::NativeFiles().Separator() == '\\';
}

std::string ToUtf8(std::string_view text) {
    return platform::ToUtf8(text, platform::NativeSystem().codePage);
}

std::string FromUtf8(std::string_view text, bool* lossy) {
    return platform::FromUtf8(text, platform::NativeSystem().codePage, lossy);
}

}  // namespace host::base
