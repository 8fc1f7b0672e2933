#include "host/eudora/private_prefix.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/base/failure.h"
#include "host/base/folders.h"
#include "host/base/native_path.h"
#include "host/eudora/shadow_folder.h"
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

}  // namespace

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

base::Result<PrivatePrefix> PrivatePrefix::Make(const std::string& path, const std::string& eudora,
                                                unsigned codePage, bool temporary) {
    PrivatePrefix prefix;
    prefix.m_path = path;
    prefix.m_temporary = temporary;
    const fs::path root = base::ToPath(path);
    for (const char* folder : {"drive_c/windows/temp", "drive_c/kvsync", "dosdevices"}) {
        if (auto made = base::MakeOwnFolders(base::FromPath(root / folder)); !made)
            return made.Error();
    }
    if (auto linked = Link(root / "dosdevices" / "c:", "../drive_c"); !linked) {
        return linked.Error();
    }
    if (auto linked = Link(root / "drive_c" / "Eudora", base::ToPath(eudora)); !linked) {
        return linked.Error();
    }
    // The module keeps values of its own in system.reg: it is written anew only for other answers.
    const std::string registry = PrivateRegistry(ProgramName(eudora), codePage);
    const fs::path basis = root / "made-of";
    const auto old = platform::ReadWhole(platform::NativeFiles(), base::FromPath(basis), 1 << 20);
    std::error_code unknown;
    if (old && *old == registry && fs::exists(root / "system.reg", unknown)) return prefix;
    if (auto written = Write(root / "system.reg", registry); !written) return written.Error();
    if (auto written = Write(basis, registry); !written) return written.Error();
    return prefix;
}

base::Result<PrivatePrefix> PrivatePrefix::Shadow(const std::string& path,
                                                  const std::string& prefix) {
    PrivatePrefix shadow;
    shadow.m_path = path;
    shadow.m_temporary = true;
    if (auto made = ShadowPrefix(prefix, path); !made) return made.Error();
    if (auto made = ShadowFolder(path + "/dosdevices/c:", {"windows", "temp"}); !made) {
        return made.Error();
    }
    return shadow;
}

PrivatePrefix::PrivatePrefix(PrivatePrefix&& other) noexcept
    : m_path(std::move(other.m_path)), m_temporary(std::exchange(other.m_temporary, false)) {}

PrivatePrefix& PrivatePrefix::operator=(PrivatePrefix&& other) noexcept {
    std::swap(m_path, other.m_path);
    std::swap(m_temporary, other.m_temporary);
    return *this;
}

PrivatePrefix::~PrivatePrefix() {
    std::error_code ignored;
    if (m_temporary) fs::remove_all(base::ToPath(m_path), ignored);
}

}  // namespace host::eudora
