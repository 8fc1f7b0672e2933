#include "host/eudora/choice.h"

#include "host/base/folders.h"
#include "host/base/native_path.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"

namespace host::eudora {

namespace {

std::string FileOf(const Setup& setup, const char* what) {
    return base::FromPath(base::ToPath(setup.memoryFolder) / what);
}

}  // namespace

base::Result<std::string> Chosen(const Setup& setup, const char* what) {
    constexpr std::uint64_t kLongestPath = 4096;
    const std::string file = FileOf(setup, what);
    if (!platform::NativeFiles().Exists(file)) return std::string();
    auto path = platform::ReadWhole(platform::NativeFiles(), file, kLongestPath);
    if (!path) return path.Error();
    return platform::NativeSystem().files.Exists(*path) ? *path : std::string();
}

base::Status Choose(const Setup& setup, const char* what, const std::string& windowsPath) {
    if (auto made = base::MakeOwnFolders(setup.memoryFolder); !made) return made;
    return platform::WriteWhole(platform::NativeFiles(), FileOf(setup, what), windowsPath);
}

}  // namespace host::eudora
