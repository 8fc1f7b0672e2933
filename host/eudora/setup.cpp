#include "host/eudora/setup.h"

#include <algorithm>
#include <filesystem>

#include "host/base/paths.h"
#include "host/eudora/machine.h"
#include "platform/os/program.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "text/fingerprint.h"
#include "text/path.h"

namespace host::eudora {

namespace fs = std::filesystem;

namespace {

std::string InMemory(const Setup& setup, const char* what) {
    return base::FromPath(base::ToPath(setup.memoryFolder) / what);
}

// Finds Eudora's folder in the registry. On Windows a folder in the options is used instead, and
// the registered one is noted if it is another.
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
        setup.memoryKey = text::Fingerprint(setup.eudoraFolder);
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

base::Status ChooseSettingsFolder(const SetupOptions& options, Setup& setup) {
    if (!options.settings && !setup.init.settingsDir.empty()) return {};
    const std::string folder =
        options.settings ? WithoutLinks(*options.settings) : InMemory(setup, "settings");
    if (options.settings) {
        if (auto checked = base::CheckFolder(folder, "the settings folder"); !checked)
            return checked;
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
    // absolute() first: weakly_canonical() keeps a relative path that does not exist relative.
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
    const bool isWindows = base::UsesWindowsPaths();
    Setup setup;
    const auto state = StateFolder();
    if (!state) return state.Error();
    if (!options.writesNothing && !isWindows) {
        // One of an earlier version may be open to others.
        std::error_code none;
        fs::permissions(base::ToPath(*state), fs::perms::owner_all, none);
    }
    setup.init.language = options.language.value_or("EN");
    if (auto used = UseMachine(options, *state, setup); !used) return used.Error();
    if (isWindows && options.eudora) {
        if (auto checked = base::CheckFolder(*options.eudora, "the Eudora folder"); !checked) {
            return checked.Error();
        }
    }
    if (auto found = FindFolder(options, setup); !found) return found.Error();
    const auto native = platform::NativePathOf(setup.eudoraFolder);
    setup.nativeFolder = WithoutLinks(options.eudora ? *options.eudora : native.value_or(""));
    if (options.writesNothing && !isWindows && !options.eudora) {
        if (auto made = ShadowEudora(setup); !made) return made.Error();
    }
    setup.memoryFolder = base::FromPath(base::ToPath(*state) / "eudora" / setup.memoryKey);
    if (auto chosen = ChooseSettingsFolder(options, setup); !chosen) return chosen.Error();
    return setup;
}

base::Result<std::string> Chosen(const Setup& setup, const char* what) {
    constexpr std::uint64_t kLongestPath = 4096;
    const std::string file = InMemory(setup, what);
    if (!platform::NativeFiles().Exists(file)) return std::string();
    auto path = platform::ReadWhole(platform::NativeFiles(), file, kLongestPath);
    if (!path) return path.Error();
    return platform::NativeSystem().files.Exists(*path) ? *path : std::string();
}

base::Status Choose(const Setup& setup, const char* what, const std::string& windowsPath) {
    if (auto made = base::MakeOwnFolders(setup.memoryFolder); !made) return made;
    return platform::WriteWhole(platform::NativeFiles(), InMemory(setup, what), windowsPath);
}

base::Status RefuseMailsElsewhere(const Setup& setup) {
    if (setup.mailsElsewhere.empty()) return {};
    return base::Refused("on Windows the mails come from Eudora itself, which is installed in " +
                             setup.mailsElsewhere + ", not in " + setup.eudoraShown,
                         "leave --eudora out, or ask for contacts alone");
}

std::string ShownPath(const Setup& setup, const std::string& windowsPath) {
    const bool isBare = !setup.privatePrefix.empty() && setup.eudoraFolder == "C:\\Eudora";
    if (isBare && windowsPath.starts_with(setup.eudoraFolder + '\\')) {
        std::string rest = base::ToUtf8(windowsPath.substr(setup.eudoraFolder.size()));
        std::ranges::replace(rest, '\\', '/');
        return setup.eudoraShown + rest;
    }
    return platform::NativePathOf(windowsPath).value_or(base::ToUtf8(windowsPath));
}

base::Status RefuseInsideEudora(const Setup& setup, const std::string& folder) {
    const auto eudora = platform::NativePathOf(setup.eudoraFolder);
    if (!eudora) return {};
    const fs::path rest = base::ToPath(folder).lexically_relative(base::ToPath(*eudora));
    if (rest.empty() || *rest.begin() == "..") return {};
    return base::Refused(folder + " lies in Eudora's own folder", "name one outside of it");
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
