#include "host/dialogs/file_form.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace host::dialogs {

std::string CompletePath(const std::string& typed, const platform::OpenFileRequest& request) {
    const unsigned codePage = platform::NativeSystem().codePage;
    auto parts = text::SplitPath(typed, codePage);
    const auto initial = text::SplitPath(request.initialPath, codePage);
    if (parts.drive.empty()) {
        parts.drive = initial.drive;
        const bool isRooted = !parts.folder.empty() && parts.folder[0] == '\\';
        if (!isRooted) parts.folder = initial.folder + parts.folder;
    }
    if (parts.extension.empty() && !parts.name.empty() && !request.defaultExtension.empty()) {
        parts.extension = "." + request.defaultExtension;
    }
    return text::JoinPath(parts);
}

}  // namespace host::dialogs
