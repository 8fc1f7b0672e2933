#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/base/failure.h"

namespace host::eudora {

inline constexpr unsigned kUsualCodePage = 1252;

// What InitTranslatorEx is told; texts in the system code page, paths Windows paths.
struct InitTexts {
    std::string settingsDir;  // settings files, and first choice for the language bundles
    std::string language;     // EN, DE, FR, ES, IT, PT, JP
};

// Which Eudora to work on, as the person says it. Paths are native, in UTF-8.
struct SetupOptions {
    std::optional<std::string> eudora;        // a bare Eudora folder
    std::optional<std::string> winePrefix;    // else a Wine prefix; else WINEPREFIX, else ~/.wine
    std::optional<std::string> nicknameFile;  // native, or a Windows path
    std::optional<std::string> settings;      // folder of the translators' settings files
    std::optional<std::string> language;      // of the texts; EN if it is not said
    // Of a bare folder, kUsualCodePage if it is not said; a prefix and Windows have their own.
    std::optional<unsigned> codePage;
    bool followLinks = false;    // out of a bare folder
    bool writesNothing = false;  // a dry run: what has to be made is made in the temporary folder
};

// One Eudora, found and ready for the module. The module works on it as long as this lives. Texts
// are UTF-8 but where it is said.
struct Setup {
    InitTexts init;
    std::string eudoraFolder;  // Windows path, system code page
    std::string eudoraShown;   // the folder as a person knows it
    // Where Eudora is installed, if that is another folder: then that one's mails are all that
    // Windows gives.
    std::string mailsElsewhere;
    std::string memoryKey;      // the same for each run on this Eudora, different for another
    std::string memoryFolder;   // native; what kvsync remembers of this Eudora alone
    std::string privatePrefix;  // native; a prefix of our own, if the module works on one
    std::shared_ptr<const void> temporary;  // removes a prefix that was made for this run alone
};

// Finds Eudora, points this process at its machine (at the first call; NativeSystem must not have
// been used before) and makes what is missing in kvsync's own folder. kRefused, with nothing
// changed, if there is no such folder or prefix, Eudora is not in it, or rights are missing.
base::Result<Setup> Prepare(const SetupOptions& options);

// kRefused if Eudora has its folder open.
base::Status RefuseRunningEudora(const Setup& setup);

// kRefused if the mails that the module would give are those of another folder.
base::Status RefuseMailsElsewhere(const Setup& setup);

// A file that a person chose for this Eudora, for all runs on it, as a Windows path; "" if nothing
// was chosen, or the file is gone. `what` names the choice in kvsync's own folder.
base::Result<std::string> Chosen(const Setup& setup, const char* what);
base::Status Choose(const Setup& setup, const char* what, const std::string& windowsPath);

// The key of the local machine in which Eudora's set-up leaves its place.
inline constexpr const char* kAppPaths =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Eudora.exe";

// What regedit calls a key below SOFTWARE that the module reads: that of the 32-bit programs.
std::string ShownKey(const std::string& key);

// kvsync's own folder: $XDG_STATE_HOME/kvsync, %LOCALAPPDATA%\kvsync or ~/.local/state/kvsync.
base::Result<std::string> StateFolder();

// Where a relative or absolute native path leads, without links; as it stands if that is unknown.
std::string WithoutLinks(const std::string& path);

}  // namespace host::eudora
