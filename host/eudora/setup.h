#pragma once

#include <memory>
#include <optional>
#include <string>

#include "host/base/failure.h"

// Finding the Eudora of a run and kvsync's own folder.
namespace host::eudora {

inline constexpr unsigned kUsualCodePage = 1252;  // Microsoft's number of Windows Latin 1

// The arguments of InitTranslatorEx. Texts are in the system code page, paths are Windows paths.
struct InitTexts {
    std::string settingsDir;  // settings files, and first choice for the language bundles
    std::string language;     // EN, DE, FR, ES, IT, PT, JP
};

// The Eudora to work on, as the command line and the configuration file name it. Paths are native,
// in UTF-8.
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
    std::string nativeFolder;  // the folder itself: native, links followed
    // On Windows: the folder of the installed Eudora, if it is not this one. Eudora serves the
    // mails of that folder only.
    std::string mailsElsewhere;
    std::string memoryKey;      // the same for each run on this Eudora, different for another
    std::string memoryFolder;   // native; what kvsync remembers of this Eudora alone
    std::string privatePrefix;  // native; a prefix of our own, if the module works on one
    std::shared_ptr<const void> temporary;  // removes a prefix that was made for this run alone
};

// Finds Eudora, points this process at its machine (NativeSystem must not have been used before the
// first call) and makes what is missing in kvsync's own folder. kRefused, with advice, if there is
// no such folder or prefix, Eudora is not in it, or rights are missing. Eudora's own files are
// never changed.
base::Result<Setup> Prepare(const SetupOptions& options);

// kRefused if Eudora's window is open or its folder holds the lock file OWNER.LOK.
base::Status RefuseRunningEudora(const Setup& setup);

// kRefused if the module would give the mails of another folder.
base::Status RefuseMailsElsewhere(const Setup& setup);

// The file that a person chose for all runs on this Eudora, as a Windows path in the system code
// page; "" if nothing was chosen or the file is gone. `what` is the name under which kvsync's own
// folder keeps the choice.
base::Result<std::string> Chosen(const Setup& setup, const char* what);
base::Status Choose(const Setup& setup, const char* what, const std::string& windowsPath);

// A Windows path of the module's as a person knows it: native, in UTF-8, below a bare folder as
// that was named.
std::string ShownPath(const Setup& setup, const std::string& windowsPath);

// kRefused if a folder for vCards or mails (native, links followed) lies in Eudora's own.
base::Status RefuseInsideEudora(const Setup& setup, const std::string& folder);

// The registry key, below the local machine's root, in which Eudora's installer writes its folder.
inline constexpr const char* kAppPaths =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Eudora.exe";

// The name of such a key in regedit: the one for 32-bit programs, below Wow6432Node.
std::string ShownKey(const std::string& key);

// kvsync's own folder, a native path in UTF-8: $XDG_STATE_HOME/kvsync, %LOCALAPPDATA%\kvsync or
// ~/.local/state/kvsync. kRefused if none of the variables is set.
base::Result<std::string> StateFolder();

// The absolute form of a native path in UTF-8 with all links followed; parts that do not exist
// stay. The path itself if the system does not tell.
std::string WithoutLinks(const std::string& path);

}  // namespace host::eudora
