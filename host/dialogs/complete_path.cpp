#include "host/dialogs/file_form.h"
#include "platform/os/path.h"
#include "platform/os/system.h"

namespace host {

std::string CompletePath(const std::string& typed, const platform::OpenFileRequest& request) {
    const unsigned codePage = platform::NativeSystem().processes.CodePage();
    auto parts = platform::SplitPath(typed, codePage);
    const auto initial = platform::SplitPath(request.initialPath, codePage);
    if (parts.drive.empty()) {
        parts.drive = initial.drive;
        const bool isRooted = !parts.folder.empty() && parts.folder[0] == '\\';
        if (!isRooted) parts.folder = initial.folder + parts.folder;
    }
    if (parts.extension.empty() && !parts.name.empty() && !request.defaultExtension.empty()) {
        parts.extension = "." + request.defaultExtension;
    }
    return platform::JoinPath(parts);
}

}  // namespace host
