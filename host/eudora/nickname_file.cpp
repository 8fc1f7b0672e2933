#include "host/eudora/nickname_file.h"

#include <algorithm>
#include <filesystem>

#include "host/base/paths.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace host::eudora {

namespace fs = std::filesystem;

namespace {

constexpr const char* kChoice = "nickname-file";
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;
constexpr const char* kChoose = "choose one with --nickname-file or kvsync configure contacts";

// The part of `path` below `folder`; nothing if it is not inside.
std::optional<std::string> Below(const fs::path& folder, const fs::path& path) {
    const fs::path rest = path.lexically_relative(folder);
    if (rest.empty() || *rest.begin() == "..") return std::nullopt;
    return rest == "." ? std::string() : base::FromPath(rest);
}

bool IsWindowsPath(const std::string& path) {
    return path.size() > 2 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

// The file of that name in Eudora's folder, or in the folder NickName.
std::optional<std::string> FileInEudora(const Setup& setup, const std::string& named) {
    std::string name = base::FromUtf8(named);
    std::ranges::replace(name, '/', '\\');
    for (const char* folder : {"\\", "\\NickName\\"}) {
        for (const char* end : {"", ".txt"}) {
            std::string path = setup.eudoraFolder + folder + name + end;
            const auto info = platform::NativeSystem().files.Stat(path);
            if (info && !info->isFolder) return path;
        }
    }
    return std::nullopt;
}

}  // namespace

base::Result<std::string> NamedNicknameFile(const Setup& setup, const std::string& named) {
    if (IsWindowsPath(named)) return base::FromUtf8(named);
    if (!platform::NativeFiles().Exists(named)) {
        if (base::ToPath(named).is_relative()) {
            if (auto path = FileInEudora(setup, named)) return *path;
        }
        return base::Refused("the nickname file " + named + " does not exist", "check the path");
    }
    const std::string path = WithoutLinks(named);
    if (!setup.privatePrefix.empty()) {
        // Inside the bare folder the drive's own link leads to it.
        if (auto rest = Below(base::ToPath(setup.eudoraShown), base::ToPath(path))) {
            std::ranges::replace(*rest, '/', '\\');
            return setup.eudoraFolder + "\\" + base::FromUtf8(*rest);
        }
    }
    if (auto windows = platform::WindowsPathOf(path)) return *windows;
    return base::Refused("the nickname file " + named + " lies outside the Eudora in use",
                         "name one inside");
}

std::vector<std::string> AllNicknameFiles(const Setup& setup) {
    auto& files = platform::NativeSystem().files;
    std::vector<std::string> paths;
    const std::string folder = setup.eudoraFolder + "\\NickName\\";
    for (const auto& entry : files.List(folder, "*.txt").ValueOr({})) {
        if (!entry.isFolder) paths.push_back(folder + entry.name);
    }
    std::ranges::sort(paths);
    const std::string main = setup.eudoraFolder + "\\nndbase.txt";
    if (files.Exists(main)) paths.insert(paths.begin(), main);
    return paths;
}

base::Result<std::string> ChooseNicknameFile(const SetupOptions& options, const Setup& setup) {
    if (options.nicknameFile) {
        auto named = NamedNicknameFile(setup, *options.nicknameFile);
        if (!named) return named;
        if (auto checked = CheckNicknameFile(setup, *named, false); !checked)
            return checked.Error();
        return named;
    }
    auto kept = Chosen(setup, kChoice).ValueOr("");
    if (!kept.empty()) return kept;
    const std::string main = setup.eudoraFolder + "\\nndbase.txt";
    return platform::NativeSystem().files.Exists(main) ? main : std::string();
}

base::Status RememberNicknameFile(const Setup& setup, const std::string& windowsPath) {
    return Choose(setup, kChoice, windowsPath);
}

base::Status CheckNicknameFile(const Setup& setup, const std::string& windowsPath,
                               bool forWriting) {
    const std::string shown = ShownPath(setup, windowsPath);
    auto& files = platform::NativeSystem().files;
    const auto info = files.Stat(windowsPath);
    if (!info) {
        return base::Refused("the nickname file " + shown + " does not exist", kChoose);
    }
    if (info->isFolder) return base::Refused(shown + " is a folder, not a nickname file", kChoose);
    if (info->size > kLargestFile) {
        return base::Refused(
            shown + " has " + std::to_string(info->size) + " bytes, more than any nickname file",
            kChoose);
    }
    if (forWriting && files.IsReadOnly(windowsPath)) {
        return base::Refused("the nickname file " + shown + " is read-only",
                             "give yourself write permission (chmod u+w)");
    }
    const std::string folder =
        windowsPath.substr(0, text::LastSeparator(windowsPath, platform::NativeSystem().codePage));
    // On Windows the mark means nothing on a folder.
    if (forWriting && !base::UsesWindowsPaths() && files.IsReadOnly(folder)) {
        return base::Refused("the folder of the nickname file " + shown + " cannot be written",
                             "give yourself write permission there (chmod u+w)");
    }
    auto opened = files.Open(windowsPath, platform::OpenMode::kRead, platform::Share::kReadWrite);
    if (!opened && opened.Error().code == platform::ErrorCode::kNotRegular) {
        return base::Refused("the nickname file " + shown + " is no regular file", kChoose);
    }
    if (!opened) {
        return base::Refused(
            "the nickname file " + shown + " cannot be read",
            "close what holds it open, or give yourself read permission (chmod u+r)");
    }
    return {};
}

}  // namespace host::eudora
