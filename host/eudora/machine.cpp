#include "host/eudora/machine.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <vector>

#include "host/base/folders.h"
#include "host/base/native_path.h"
#include "host/eudora/setup.h"
#include "host/eudora/shadow_folder.h"
#include "platform/os/program.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"

namespace host::eudora {

namespace fs = std::filesystem;

namespace {

// The name of Eudora's program in the folder, in whatever case; "." if there is none.
std::string ProgramName(const std::string& eudora) {
    auto entries = platform::NativeFiles().List(eudora, "eudora.exe");
    return entries && !entries->empty() ? entries->front().name : ".";
}

base::Status Link(const fs::path& link, const fs::path& target) {
    std::error_code error;
    if (fs::read_symlink(link, error) == target) return {};
    fs::remove(link, error);
    fs::create_symlink(target, link, error);
    std::error_code unread;
    // Another run may have made it in between.
    if (!error || fs::read_symlink(link, unread) == target) return {};
    return base::Refused(base::FromPath(link) + " cannot be made: " + error.message(),
                         base::kMakeWritable);
}

// A text file that only changes when its content does.
base::Status Write(const fs::path& path, const std::string& content) {
    auto& files = platform::NativeFiles();
    const std::string name = base::FromPath(path);
    const auto old = platform::ReadWhole(files, name, 1 << 20);
    if (old && *old == content) return {};
    if (auto status = platform::WriteWhole(files, name, content); !status) {
        return base::Refused("kvsync's own folder cannot be written: " + status.Error().Message(),
                             base::kMakeWritable);
    }
    return {};
}

// The text of system.reg. A folder without Eudora.exe gets itself ("C:\\Eudora\\.") named as the
// program, since the program only has to exist and to lie in the folder.
std::string PrivateRegistry(const std::string& program, unsigned codePage) {
    const std::string path = "C:\\\\Eudora\\\\" + program;
    std::string text = "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n";
    text += "#arch=win32\n\n";
    text += "[Software\\\\Classes\\\\mailto\\\\shell\\\\open\\\\command] 0\n";
    text += "@=\"" + path + " /M %1\"\n\n";
    text += "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\App Paths\\\\Eudora.exe] 0\n";
    text += "@=\"" + path + "\"\n\"Path\"=\"C:\\\\Eudora\"\n\n";
    text += "[Software\\\\Microsoft\\\\Windows Messaging Subsystem] 0\n\"MAPI\"=\"1\"\n\n";
    text += "[System\\\\CurrentControlSet\\\\Control\\\\Nls\\\\CodePage] 0\n";
    text += "\"ACP\"=\"" + std::to_string(codePage) + "\"\n";
    return text;
}

// Makes a prefix in `path`, or brings it up to date: drive C holds a link to the folder and the
// temporary and settings folders, and system.reg names Eudora.
base::Status MakePrefix(const std::string& path, const std::string& eudora, unsigned codePage) {
    const fs::path root = base::ToPath(path);
    for (const char* folder : {"drive_c/windows/temp", "drive_c/kvsync", "dosdevices"}) {
        if (auto made = base::MakeOwnFolders(base::FromPath(root / folder)); !made) return made;
    }
    if (auto linked = Link(root / "dosdevices" / "c:", "../drive_c"); !linked) {
        return linked;
    }
    if (auto linked = Link(root / "drive_c" / "Eudora", base::ToPath(eudora)); !linked) {
        return linked;
    }
    // The module keeps values of its own in system.reg: it is written anew only for other answers.
    const std::string registry = PrivateRegistry(ProgramName(eudora), codePage);
    const fs::path basis = root / "made-of";
    const auto old = platform::ReadWhole(platform::NativeFiles(), base::FromPath(basis), 1 << 20);
    std::error_code unknown;
    if (old && *old == registry && fs::exists(root / "system.reg", unknown)) return {};
    if (auto written = Write(root / "system.reg", registry); !written) return written;
    return Write(basis, registry);
}

// A new one for each run, since what exists already may be anybody's.
base::Status TakeTemporaryPrefix(Machine& machine) {
    const auto folder = platform::NativeFiles().TempFolder();
    if (!folder) return folder.Error();
    const auto made = platform::NativeFiles().CreateTempFolder(*folder, "kvsync-");
    if (!made) return made.Error();
    machine.privatePrefix = *made;
    machine.temporary = std::shared_ptr<const void>(nullptr, [path = *made](const void*) {
        std::error_code ignored;
        fs::remove_all(base::ToPath(path), ignored);
    });
    return {};
}

base::Status UseBareFolder(const SetupOptions& options, const std::string& stateFolder,
                           Machine& machine) {
    constexpr const char* kSettingsFolder = "C:\\kvsync";
    if (auto checked = base::CheckFolder(*options.eudora, "the Eudora folder"); !checked) {
        return checked;
    }
    const std::string folder = WithoutLinks(*options.eudora);
    const unsigned codePage = options.codePage.value_or(kUsualCodePage);
    machine.key = KeyOf(folder);
    machine.shown = folder;
    machine.settingsDir = kSettingsFolder;
    const fs::path kept = base::ToPath(stateFolder) / "prefixes" / base::ToPath(machine.key);
    machine.privatePrefix = base::FromPath(kept);
    if (!options.writesNothing) return MakePrefix(machine.privatePrefix, folder, codePage);
    if (auto taken = TakeTemporaryPrefix(machine); !taken) return taken;
    if (auto made = MakePrefix(machine.privatePrefix, folder, codePage); !made) return made;
    // It is to see what the next real run will see.
    const fs::path drive = base::ToPath(machine.privatePrefix) / "drive_c";
    std::error_code ignored;
    fs::copy(kept / "drive_c" / "kvsync", drive / "kvsync",
             fs::copy_options::recursive | fs::copy_options::overwrite_existing, ignored);
    return ShadowFolder(base::FromPath(drive / "Eudora"), {});
}

base::Status UsePrefix(const SetupOptions& options, Machine& machine) {
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
    machine.key = KeyOf(prefix);
    machine.shown = "the Wine prefix " + prefix;
    if (!options.writesNothing) return platform::SetEnvironment("WINEPREFIX", prefix);
    if (auto taken = TakeTemporaryPrefix(machine); !taken) return taken;
    const std::string& path = machine.privatePrefix;
    if (auto made = ShadowPrefix(WithoutLinks(prefix), path); !made) return made;
    return ShadowFolder(path + "/dosdevices/c:", {"windows", "temp"});
}

}  // namespace

base::Result<Machine> UseMachine(const SetupOptions& options, const std::string& stateFolder) {
    Machine machine;
    if (base::UsesWindowsPaths()) return machine;
    const auto used =
        options.eudora ? UseBareFolder(options, stateFolder, machine) : UsePrefix(options, machine);
    if (!used) return used.Error();
    if (machine.privatePrefix.empty()) return machine;
    if (auto set = platform::SetEnvironment("WINEPREFIX", machine.privatePrefix); !set) {
        return set.Error();
    }
    return machine;
}

base::Status ShadowEudora(const Machine& machine, const std::string& folder) {
    if (folder.size() < 3 || folder[1] != ':') return {};
    const char letter = static_cast<char>(folder[0] | 0x20);
    std::vector<std::string> names;
    std::istringstream rest(folder.substr(3));
    for (std::string name; std::getline(rest, name, '\\');) {
        if (!name.empty()) names.push_back(name);
    }
    return ShadowFolder(machine.privatePrefix + "/dosdevices/" + letter + ":", names);
}

std::string KeyOf(const std::string& text) {
    // FNV-1a
    std::uint64_t sum = 0xcbf29ce484222325u;
    for (const char letter : text) {
        sum = (sum ^ static_cast<unsigned char>(letter)) * 0x100000001b3u;
    }
    std::array<char, 17> hex{};
    std::snprintf(hex.data(), hex.size(), "%016llx", static_cast<unsigned long long>(sum));
    return hex.data();
}

}  // namespace host::eudora
