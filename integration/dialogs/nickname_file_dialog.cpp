#include "integration/dialogs/nickname_file_dialog.h"

#include "text/double_byte.h"

namespace dialogs {

std::optional<std::string> AskForNicknameFile(const platform::System& system,
                                              const std::string& shownAtFirst) {
    constexpr std::size_t kMaxPath = 259;
    platform::OpenFileRequest request;
    request.initialPath =
        shownAtFirst.substr(0, text::WholeCharacterPrefix(shownAtFirst, kMaxPath, system.codePage));
    request.defaultExtension = "txt";
    request.filter = "Eudora Address Book (*.txt)|*.txt||";
    request.accept = [&](const std::string& confirmed) {
        if (system.files.Exists(confirmed)) return true;
        system.dialogs.ShowMessage("Invalid File Name", "Error", platform::MessageIcon::kWarning);
        return false;
    };
    return system.dialogs.OpenFile(request);
}

}  // namespace dialogs
