#include "host/base/paths.h"

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

std::string ParentFolder(const platform::Files& files, const std::string& path) {
    const auto last = path.find_last_of(files.Separator() == '/' ? "/" : "/\\");
    return last == std::string::npos ? "" : path.substr(0, last);
}

std::string FileName(const platform::Files& files, const std::string& path) {
    const std::string folder = ParentFolder(files, path);
    return folder.empty() ? path : path.substr(folder.size() + 1);
}

std::string PathIn(const platform::Files& files, const std::string& folder,
                   const std::string& name) {
    return folder + files.Separator() + name;
}

base::Status SettleFiles(platform::Files& files, const std::string& folder,
                         const std::vector<std::string>& paths) {
    auto settled = files.Settle(folder);
    if (settled || settled.Error().code != platform::ErrorCode::kNotSupported) return settled;
    for (const std::string& path : paths) {
        auto file = files.Open(path, platform::OpenMode::kReadWrite, platform::Share::kReadWrite);
        // Somebody moved or removed it already: it is theirs now.
        if (!file && file.Error().code == platform::ErrorCode::kNotFound) continue;
        if (!file) return file.Error();
        if (auto flushed = (*file)->Flush(); !flushed) return flushed;
    }
    return {};
}

base::Status MakeFolders(platform::Files& files, const std::string& folder) {
    if (folder.empty() || files.Exists(folder)) return {};
    if (auto status = MakeFolders(files, ParentFolder(files, folder)); !status) return status;
    auto status = files.CreateFolder(folder);
    if (!status && status.Error().code == platform::ErrorCode::kAlreadyExists) return {};
    return status;
}

base::Status MakeOwnFolders(const std::string& folder) {
    const auto made = MakeFolders(platform::NativeFiles(), folder);
    if (made) return {};
    return RefusedBy(made.Error(), folder + " cannot be made", kMakeWritable);
}

base::Status CheckFolder(const std::string& folder, const std::string& what) {
    const auto info = platform::NativeFiles().Stat(folder);
    if (!info) {
        return Refused(what + " " + folder + " does not exist or cannot be reached",
                       "check the path");
    }
    if (!info->isFolder) return Refused(what + " " + folder + " is no folder", "check the path");
    if (!platform::NativeFiles().List(folder, "*")) {
        return Refused(what + " " + folder + " cannot be read",
                       "give yourself read permission (chmod u+rx)");
    }
    return {};
}

}  // namespace host::base
