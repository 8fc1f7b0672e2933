#include "host/eudora/machine.h"

#include <filesystem>
#include <sstream>
#include <vector>

#include "host/base/paths.h"
#include "platform/os/code_page.h"
#include "platform/os/program.h"
#include "platform/os/safe_write.h"
#include "platform/os/system.h"
#include "text/ascii.h"
#include "text/fingerprint.h"

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

// A file of kvsync's own.
base::Status Write(const fs::path& path, const std::string& content) {
    const auto status =
        platform::WriteWhole(platform::NativeFiles(), base::FromPath(path), content);
    if (status) return {};
    return base::RefusedBy(status.Error(), "kvsync's own folder cannot be written",
                           base::kMakeWritable);
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

base::Status StatusOf(const std::error_code& error, const fs::path& path) {
    if (!error) return {};
    return base::Refused(base::FromPath(path) + " cannot be made: " + error.message(),
                         "check the temporary folder");
}

// A link to a folder becomes a folder of links to what that one holds.
base::Status Unfold(const fs::path& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error)) return {};
    const fs::path real = fs::canonical(path, error);
    if (error) return StatusOf(error, path);
    fs::remove(path, error);
    fs::create_directory(path, error);
    if (error) return StatusOf(error, path);
    for (const auto& entry : fs::directory_iterator(real, error)) {
        fs::create_symlink(entry.path(), path / entry.path().filename(), error);
        if (error) return StatusOf(error, path);
    }
    return StatusOf(error, path);
}

// The name that `folder` has for it; as it is spelt if there is none.
fs::path Spelt(const fs::path& folder, const std::string& name) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(folder / base::ToPath(name), ignored)))
        return base::ToPath(name);
    for (const auto& entry : fs::directory_iterator(folder, ignored)) {
        if (text::EqualNoCase(base::FromPath(entry.path().filename()), name))
            return entry.path().filename();
    }
    return base::ToPath(name);
}

// The folder `root`, a link or a folder of links already, becomes a folder of links with the
// folders below it that `names` lead to: what is read through them is there as it is, and what is
// made in them is made beside it, not in it. Links on the way are followed, names are matched
// without regard to case, and what does not exist is made.
base::Status ShadowFolder(const std::string& root, const std::vector<std::string>& names) {
    fs::path path = base::ToPath(root);
    if (auto unfolded = Unfold(path); !unfolded) return unfolded;
    for (const std::string& name : names) {
        path /= Spelt(path, name);
        if (auto unfolded = Unfold(path); !unfolded) return unfolded;
        std::error_code error;
        fs::create_directory(path, error);
        if (error) return StatusOf(error, path);
    }
    return {};
}

// The Wine prefix `shadow` becomes one whose drives lead where those of `prefix` do, with a copy of
// the machine's registry.
base::Status ShadowPrefix(const std::string& prefix, const std::string& shadow) {
    const fs::path from = base::ToPath(prefix), to = base::ToPath(shadow);
    std::error_code error;
    fs::create_directories(to / "dosdevices", error);
    if (error) return StatusOf(error, to);
    for (const auto& entry : fs::directory_iterator(from / "dosdevices", error)) {
        std::error_code broken;
        const fs::path real = fs::canonical(entry.path(), broken);
        if (broken) continue;
        fs::create_symlink(real, to / "dosdevices" / entry.path().filename(), error);
        if (error) return StatusOf(error, to);
    }
    if (error) return StatusOf(error, from);
    // Without the person's registry the temporary folder is that of the drive.
    fs::copy_file(from / "system.reg", to / "system.reg", error);
    return StatusOf(error, to);
}

// A new one for each run, since what exists already may be anybody's.
base::Status TakeTemporaryPrefix(Setup& setup) {
    const auto folder = platform::NativeFiles().TempFolder();
    if (!folder) return folder.Error();
    const auto made = platform::NativeFiles().CreateTempFolder(*folder, "kvsync-");
    if (!made) return made.Error();
    setup.privatePrefix = *made;
    setup.temporary = std::shared_ptr<const void>(nullptr, [path = *made](const void*) {
        std::error_code ignored;
        fs::remove_all(base::ToPath(path), ignored);
    });
    return {};
}

base::Status UseBareFolder(const SetupOptions& options, const std::string& stateFolder,
                           Setup& setup) {
    if (auto checked = base::CheckFolder(*options.eudora, "the Eudora folder"); !checked) {
        return checked;
    }
    const std::string folder = WithoutLinks(*options.eudora);
    const unsigned codePage = options.codePage.value_or(kUsualCodePage);
    if (!platform::IsKnownCodePage(codePage)) {
        return base::Refused("code page " + std::to_string(codePage) + " is not known here",
                             "name that of Eudora's texts with --code-page, such as 1252 or 932");
    }
    setup.memoryKey = text::Fingerprint(folder);
    setup.eudoraShown = folder;
    setup.init.settingsDir = "C:\\kvsync";
    const fs::path kept = base::ToPath(stateFolder) / "prefixes" / setup.memoryKey;
    setup.privatePrefix = base::FromPath(kept);
    if (!options.writesNothing) return MakePrefix(setup.privatePrefix, folder, codePage);
    if (auto taken = TakeTemporaryPrefix(setup); !taken) return taken;
    if (auto made = MakePrefix(setup.privatePrefix, folder, codePage); !made) return made;
    // It is to see what the next real run will see.
    const fs::path drive = base::ToPath(setup.privatePrefix) / "drive_c";
    std::error_code ignored;
    fs::copy(kept / "drive_c" / "kvsync", drive / "kvsync",
             fs::copy_options::recursive | fs::copy_options::overwrite_existing, ignored);
    return ShadowFolder(base::FromPath(drive / "Eudora"), {});
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
    setup.memoryKey = text::Fingerprint(prefix);
    setup.eudoraShown = "the Wine prefix " + prefix;
    if (!options.writesNothing) return platform::SetEnvironment("WINEPREFIX", prefix);
    if (auto taken = TakeTemporaryPrefix(setup); !taken) return taken;
    if (auto made = ShadowPrefix(WithoutLinks(prefix), setup.privatePrefix); !made) return made;
    return ShadowFolder(setup.privatePrefix + "/dosdevices/c:", {"windows", "temp"});
}

}  // namespace

base::Status UseMachine(const SetupOptions& options, const std::string& stateFolder, Setup& setup) {
    if (base::UsesWindowsPaths()) return {};
    auto used =
        options.eudora ? UseBareFolder(options, stateFolder, setup) : UsePrefix(options, setup);
    if (!used || setup.privatePrefix.empty()) return used;
    return platform::SetEnvironment("WINEPREFIX", setup.privatePrefix);
}

base::Status ShadowEudora(const Setup& setup) {
    const std::string folder = base::ToUtf8(setup.eudoraFolder);
    if (folder.size() < 3 || folder[1] != ':') return {};
    const char letter = static_cast<char>(folder[0] | 0x20);
    std::vector<std::string> names;
    std::istringstream rest(folder.substr(3));
    for (std::string name; std::getline(rest, name, '\\');) {
        if (!name.empty()) names.push_back(name);
    }
    return ShadowFolder(setup.privatePrefix + "/dosdevices/" + letter + ":", names);
}

base::Status ServeAsInBox(const Setup& setup, const Mailbox& mailbox,
                          const std::optional<std::string>& table) {
    const auto shadow = platform::NativePathOf(setup.eudoraFolder);
    if (base::UsesWindowsPaths() || !shadow || setup.temporary.use_count() == 0) {
        return base::Refused(
            "only the mails of the in-box can be read here, as Eudora itself gives them",
            "copy Eudora's folder to a Linux machine and name it there with --eudora");
    }
    const fs::path folder = base::ToPath(*shadow);
    for (const auto& [name, target] :
         {std::pair("In.mbx", &mailbox.text), {"In.toc", &mailbox.table}}) {
        std::error_code error;
        for (auto spelt = Spelt(folder, name); fs::exists(fs::symlink_status(folder / spelt));
             spelt = Spelt(folder, name)) {
            if (!fs::remove(folder / spelt, error)) return StatusOf(error, folder / spelt);
        }
        if (target == &mailbox.table && table) {
            if (auto written = Write(folder / name, *table); !written) return written;
            continue;
        }
        fs::create_symlink(base::ToPath(*target), folder / name, error);
        if (error) return StatusOf(error, folder / name);
    }
    return {};
}

}  // namespace host::eudora
