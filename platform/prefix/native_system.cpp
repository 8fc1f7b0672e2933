#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/prefix/prefix_system.h"

namespace platform {

namespace {

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] != '\0') return home;
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "/";
}

std::string PrefixFolder() {
    const char* named = std::getenv("WINEPREFIX");
    const std::string folder =
        named != nullptr && named[0] != '\0' ? named : HomeFolder() + "/.wine";
    std::error_code ignored;
    return std::filesystem::absolute(folder, ignored).string();
}

}  // namespace

const System& NativeSystem() {
    static const prefix::PrefixSystem system(PrefixFolder());
    return system.Get();
}

}  // namespace platform
