#include "host/eudora/setup.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <vector>

#include "host/base/failure.h"
#include "host/base/folders.h"
#include "host/base/native_path.h"
#include "host/eudora/shadow_folder.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace host::eudora {

namespace fs = std::filesystem;

namespace {

// FNV-1a: a short name for a folder, the same in every run.
std::string KeyOf(const std::string& text) {
    std::uint64_t sum = 0xcbf29ce484222325u;
    for (const char letter : text) {
        sum = (sum ^ static_cast<unsigned char>(letter)) * 0x100000001b3u;
    }
    std::array<char, 17> hex{};
    std::snprintf(hex.data(), hex.size(), "%016llx", static_cast<unsigned long long>(sum));
    return hex.data();
}

base::Status CheckFolder(const std::string& folder, const std::string& what) {
    const auto info = platform::NativeFiles().Stat(folder);
    if (!info) {
        return base::Refused(what + " " + folder + " does not exist or cannot be reached",
                             "check the path");
    }
    if (!info->isFolder)
        return base::Refused(what + " " + folder + " is no folder", "check the path");
    if (!platform::NativeFiles().List(folder, "*")) {
        return base::Refused(what + " " + folder + " cannot be read",
                             "give yourself read permission (chmod u+rx)");
    }
    return {};
}

// A new one for each run, since what exists already may be anybody's.
base::Result<std::string> TemporaryPrefix() {
    const auto folder = platform::NativeFiles().TempFolder();
    if (!folder) return folder.Error();
    return platform::NativeFiles().CreateTempFolder(*folder, "kvsync-");
}

base::Status UseBareFolder(const SetupOptions& options, Setup& setup) {
    if (auto checked = CheckFolder(*options.eudora, "the Eudora folder"); !checked) return checked;
    const std::string folder = WithoutLinks(*options.eudora);
    setup.memoryKey = KeyOf(folder);
    setup.eudoraShown = folder;
    const std::string kept = base::FromPath(base::ToPath(setup.stateFolder) / "prefixes" /
                                            base::ToPath(setup.memoryKey));
    const auto place = options.writesNothing ? TemporaryPrefix() : kept;
    if (!place) return place.Error();
    auto prefix = PrivatePrefix::Make(*place, folder, options.codePage.value_or(kUsualCodePage),
                                      options.writesNothing);
    if (!prefix) return prefix.Error();
    if (options.writesNothing) {
        // It is to see what the next real run will see.
        std::error_code ignored;
        fs::copy(base::ToPath(kept) / "drive_c" / "kvsync",
                 base::ToPath(prefix->Path()) / "drive_c" / "kvsync",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing, ignored);
        const fs::path folderLink = base::ToPath(prefix->Path()) / "drive_c" / "Eudora";
        if (auto made = ShadowFolder(base::FromPath(folderLink), {}); !made) return made;
    }
    setup.prefix = std::move(*prefix);
    setup.init.settingsDir = PrivatePrefix::kSettingsFolder;
    return platform::SetEnvironment("WINEPREFIX", setup.prefix.Path());
}

base::Status UsePrefix(const SetupOptions& options, Setup& setup) {
    std::string prefix;
    if (options.winePrefix) {
        prefix = WithoutLinks(*options.winePrefix);
    } else if (auto set = platform::Environment("WINEPREFIX")) {
        prefix = *set;
    } else {
        prefix = platform::Environment("HOME").value_or("") + "/.wine";
    }
    const fs::path root = base::ToPath(prefix);
    std::error_code ignored;
    if (!fs::is_regular_file(root / "system.reg", ignored) ||
        !fs::is_directory(root / "dosdevices", ignored)) {
        return base::Refused(
            prefix + " is no Wine prefix",
            "name one with --wine-prefix DIR, or Eudora's own folder with --eudora DIR");
    }
    setup.memoryKey = KeyOf(prefix);
    setup.eudoraShown = "the Wine prefix " + prefix;
    if (!options.writesNothing) return platform::SetEnvironment("WINEPREFIX", prefix);
    const auto place = TemporaryPrefix();
    if (!place) return place.Error();
    auto shadow = PrivatePrefix::Shadow(*place, WithoutLinks(prefix));
    if (!shadow) return shadow.Error();
    setup.prefix = *std::move(shadow);
    return platform::SetEnvironment("WINEPREFIX", setup.prefix.Path());
}

// Where the registry says that Eudora is. A folder named by hand must be that one.
base::Status FindFolder(const SetupOptions& options, Setup& setup) {
    auto& system = platform::NativeSystem();
    auto folder =
        system.registry.ReadText(platform::RegistryRoot::kLocalMachine, kAppPaths, "path");
    if (!folder) {
        if (base::UsesWindowsPaths()) {
            return base::Refused(
                "Eudora is not registered in Windows (no Path in " + ShownKey(kAppPaths) + ")",
                "install it, or let its installation be repaired");
        }
        return base::Refused("Eudora is not registered in " + setup.eudoraShown,
                             "install it there, or name its folder with --eudora DIR");
    }
    // A backslash that is the second half of a character closes nothing.
    const unsigned codePage = system.codePage;
    while (folder->size() > 3 && text::LastSeparator(*folder, codePage) == folder->size() - 1) {
        folder->pop_back();
    }
    setup.eudoraFolder = *folder;
    if (base::UsesWindowsPaths()) {
        setup.eudoraShown = options.eudora ? *options.eudora : base::ToUtf8(*folder);
        if (options.eudora) {
            std::error_code unknown;
            const bool isIt = fs::equivalent(base::ToPath(base::ToUtf8(*folder)),
                                             base::ToPath(*options.eudora), unknown);
            if (!isIt) setup.mailsElsewhere = base::ToUtf8(*folder);
            setup.eudoraFolder = base::FromUtf8(WithoutLinks(*options.eudora));
        }
        setup.memoryKey = KeyOf(setup.eudoraFolder);
    } else if (!options.eudora) {
        setup.eudoraShown = base::ToUtf8(*folder) + " in " + setup.eudoraShown;
    }
    if (!system.files.Exists(setup.eudoraFolder)) {
        return base::Refused("the registry says that Eudora is in " +
                                 base::ToUtf8(setup.eudoraFolder) + ", which does not exist",
                             "set Path in " + ShownKey(kAppPaths) +
                                 " to where it is, or name that folder with --eudora DIR");
    }
    return {};
}

// The translator makes what is missing in Eudora's folder: beside it, when nothing may be written.
base::Status ShadowEudora(const Setup& setup) {
    const std::string folder = base::ToUtf8(setup.eudoraFolder);
    if (folder.size() < 3 || folder[1] != ':') return {};
    const char letter = static_cast<char>(folder[0] | 0x20);
    std::vector<std::string> names;
    std::istringstream rest(folder.substr(3));
    for (std::string name; std::getline(rest, name, '\\');) {
        if (!name.empty()) names.push_back(name);
    }
    return ShadowFolder(setup.prefix.Path() + "/dosdevices/" + letter + ":", names);
}

base::Status ChooseSettingsFolder(const SetupOptions& options, Setup& setup) {
    if (!options.settings && !setup.init.settingsDir.empty()) return {};
    const std::string folder = options.settings
                                   ? WithoutLinks(*options.settings)
                                   : base::FromPath(base::ToPath(setup.memoryFolder) / "settings");
    if (options.settings) {
        if (auto checked = CheckFolder(folder, "the settings folder"); !checked) return checked;
    } else if (!options.writesNothing) {
        if (auto made = base::MakeOwnFolders(folder); !made) return made;
    }
    auto windows = platform::WindowsPathOf(folder);
    if (!windows && options.settings) {
        return base::Refused("no drive of the Wine prefix leads to " + folder,
                             "name a settings folder inside the prefix");
    }
    // Without a way there the settings lie where the bare drive is.
    setup.init.settingsDir = windows ? *windows : "C:\\";
    return {};
}

}  // namespace

std::string WithoutLinks(const std::string& path) {
    std::error_code error;
    // Of a relative path that does not exist yet the system would give no absolute one.
    const fs::path canonical = fs::weakly_canonical(fs::absolute(base::ToPath(path), error), error);
    return error ? path : base::FromPath(canonical);
}

std::string ShownKey(const std::string& key) {
    const auto rest = key.substr(key.find('\\'));
    return "HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node" + rest +
           " (without Wow6432Node where Windows has 32 bits)";
}

base::Result<std::string> StateFolder() {
    if (auto folder = platform::Environment("XDG_STATE_HOME")) return *folder + "/kvsync";
    if (auto folder = platform::Environment("LOCALAPPDATA")) return *folder + "\\kvsync";
    if (auto home = platform::Environment("HOME")) return *home + "/.local/state/kvsync";
    return base::Refused("neither XDG_STATE_HOME nor HOME is set",
                         "set one, it holds kvsync's own files");
}

base::Result<Setup> Prepare(const SetupOptions& options) {
    Setup setup;
    auto state = StateFolder();
    if (!state) return state.Error();
    setup.stateFolder = *state;
    if (!options.writesNothing && !base::UsesWindowsPaths()) {
        // One of an earlier version may be open to others.
        std::error_code none;
        fs::permissions(base::ToPath(*state), fs::perms::owner_all, none);
    }
    setup.init.language = options.language.value_or("EN");
    if (!base::UsesWindowsPaths()) {
        const auto used =
            options.eudora ? UseBareFolder(options, setup) : UsePrefix(options, setup);
        if (!used) return used.Error();
    } else if (options.eudora) {
        if (auto checked = CheckFolder(*options.eudora, "the Eudora folder"); !checked) {
            return checked.Error();
        }
    }
    if (auto found = FindFolder(options, setup); !found) return found.Error();
    if (options.writesNothing && !base::UsesWindowsPaths() && !options.eudora) {
        if (auto made = ShadowEudora(setup); !made) return made.Error();
    }
    setup.memoryFolder =
        base::FromPath(base::ToPath(setup.stateFolder) / "eudora" / base::ToPath(setup.memoryKey));
    if (auto chosen = ChooseSettingsFolder(options, setup); !chosen) return chosen.Error();
    return setup;
}

base::Status RefuseMailsElsewhere(const Setup& setup) {
    if (setup.mailsElsewhere.empty()) return {};
    return base::Refused("on Windows the mails come from Eudora itself, which is installed in " +
                             setup.mailsElsewhere + ", not in " + setup.eudoraShown,
                         "leave --eudora out, or ask for contacts alone");
}

base::Status RefuseRunningEudora(const Setup& setup) {
    auto& system = platform::NativeSystem();
    if (system.windows.Exists("EudoraMainWindow")) {
        return base::Refused("Eudora is running", "close it and try again");
    }
    if (system.files.Exists(setup.eudoraFolder + "\\OWNER.LOK")) {
        return base::Refused(
            "Eudora is running in " + setup.eudoraShown + " (its OWNER.LOK is there)",
            "close it and try again, or delete OWNER.LOK if Eudora has crashed");
    }
    return {};
}

}  // namespace host::eudora
