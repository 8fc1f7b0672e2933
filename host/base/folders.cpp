#include "host/base/folders.h"

#include "host/base/failure.h"
#include "platform/os/system.h"

namespace host::base {

std::string ParentFolder(platform::Files& files, const std::string& path) {
    const auto last = path.find_last_of(files.Separator() == '/' ? "/" : "/\\");
    return last == std::string::npos ? "" : path.substr(0, last);
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
    return Refused(folder + " cannot be made: " + made.Error().Message(), kMakeWritable);
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
