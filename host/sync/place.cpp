#include "host/sync/place.h"

#include "host/base/folders.h"

namespace host::sync {

backup::Backups BackupsOf(const CommandPlace& place) {
    const std::string folder = base::ParentFolder(place.files, place.stateFile);
    const std::string name = "backups";
    return backup::Backups(
        place.files, folder.empty() ? name : folder + place.files.Separator() + name, place.clock);
}

platform::Result<state::StateLock> LockState(const CommandPlace& place, bool mayWrite) {
    if (mayWrite) {
        auto status =
            base::MakeFolders(place.files, base::ParentFolder(place.files, place.stateFile));
        if (!status) return status.Error();
    }
    return state::StateLock::Take(place.files, place.stateFile, mayWrite);
}

}  // namespace host::sync
