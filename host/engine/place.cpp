#include "host/engine/place.h"

#include "host/module/exit_code.h"
#include "host/module/folders.h"
#include "host/module/windows_path.h"

namespace host {

Backups BackupsOf(const CommandPlace& place) {
    const std::string folder = ParentFolder(place.files, place.stateFile);
    const std::string name = "backups";
    return Backups(place.files, folder.empty() ? name : folder + place.files.Separator() + name,
                   place.clock);
}

platform::Result<StateLock> LockState(const CommandPlace& place, bool mayWrite) {
    if (mayWrite) {
        auto status = MakeFolders(place.files, ParentFolder(place.files, place.stateFile));
        if (!status) return status.Error();
    }
    return StateLock::Take(place.files, place.stateFile, mayWrite);
}

platform::Result<std::chrono::system_clock::time_point> CheckNicknameFile(platform::Files& files,
                                                                          const std::string& path) {
    auto info = files.Stat(path);
    if (!info) return info.Error();
    if (info->isFolder) return Refused(path + ": is a folder; select a nickname file");
    if (info->size > kLargestNicknameFile) {
        return Refused(path + ": has " + std::to_string(info->size) +
                       " bytes, too many for a nickname file; select another file");
    }
    return info->modified;
}

}  // namespace host
