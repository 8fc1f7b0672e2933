#include "platform/prefix/prefix_system.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <filesystem>

#include "platform/os/code_page.h"
#include "platform/os/profile.h"
#include "platform/os/program.h"
#include "text/ascii.h"

namespace platform {

namespace {

std::atomic<Dialogs* (*)()> theDialogSource = nullptr;

}  // namespace

void SetDialogSource(Dialogs* (*source)()) {
    theDialogSource = source;
}

namespace prefix {

namespace {

// The number at the beginning of a text, 0 if there is none.
int LeadingNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// The version and profile of a prefix; its programs are never started.
class PrefixProcesses : public Processes {
  public:
    PrefixProcesses(Files& files, Registry& registry) : m_files(files), m_registry(registry) {}

    Result<std::unique_ptr<Process>> Start(std::string_view commandLine) override {
        return Failure{ErrorCode::kNotSupported, std::string(commandLine)};
    }

    Result<SystemVersion> Version() override {
        constexpr SystemVersion kDefault{6, 1};
        const char* key = "Software\\Microsoft\\Windows NT\\CurrentVersion";
        const auto root = RegistryRoot::kLocalMachine;
        // From Windows 10 on the text stays at 6.3 and the numbers count.
        const auto majorNumber = m_registry.ReadNumber(root, key, "CurrentMajorVersionNumber");
        const auto minorNumber = m_registry.ReadNumber(root, key, "CurrentMinorVersionNumber");
        if (majorNumber && minorNumber) return SystemVersion{*majorNumber, *minorNumber};
        const std::string text = m_registry.ReadText(root, key, "CurrentVersion").ValueOr("");
        std::string_view rest = text;
        const auto major = text::NumberIn<unsigned>(text::TakeToken(rest, ".").value_or(""));
        const auto minor = text::NumberIn<unsigned>(rest);
        return major && minor ? SystemVersion{*major, *minor} : kDefault;
    }

    int ProfileNumber(std::string_view section, std::string_view key, int otherwise) override {
        constexpr std::uint64_t kLargestProfile = 1 << 20;
        const auto profile =
            ReadWhole(m_files, "C:\\windows\\win.ini", kLargestProfile, Share::kReadWrite);
        if (!profile) return otherwise;
        const auto value = ProfileValue(*profile, section, key);
        return value ? LeadingNumber(*value) : otherwise;
    }

  private:
    Files& m_files;
    Registry& m_registry;
};

class NoWindows : public Windows {
  public:
    bool Exists(std::string_view) override { return false; }
    std::optional<unsigned> PeekMessages() override { return std::nullopt; }
};

class HostedDialogs : public Dialogs {
  public:
    explicit HostedDialogs(unsigned codePage) : m_codePage(codePage) {}

    void ShowMessage(const std::string& text, const std::string& title, MessageIcon icon) override {
        if (Dialogs* host = Host()) return host->ShowMessage(text, title, icon);
        std::fprintf(stderr, "%s: %s\n", ToUtf8(title, m_codePage).c_str(),
                     ToUtf8(text, m_codePage).c_str());
    }

    std::optional<std::string> OpenFile(const OpenFileRequest& request) override {
        Dialogs* host = Host();
        return host != nullptr ? host->OpenFile(request) : std::nullopt;
    }

    int RunModal(const DialogTemplate& dialog, DialogLogic& logic) override {
        constexpr int kCancelled = 2;
        Dialogs* host = Host();
        return host != nullptr ? host->RunModal(dialog, logic) : kCancelled;
    }

  private:
    static Dialogs* Host() {
        const auto source = theDialogSource.load();
        return source != nullptr ? source() : nullptr;
    }

    unsigned m_codePage;
};

// The number of the prefix's system code page; 1252 if the prefix does not say.
unsigned CodePageOf(const std::string& prefix) {
    constexpr unsigned kDefault = 1252;
    const auto text = MakeRegistry(prefix, NativeFiles(), kDefault)
                          ->ReadText(RegistryRoot::kLocalMachine,
                                     "System\\CurrentControlSet\\Control\\Nls\\CodePage", "ACP");
    const unsigned number = text ? text::NumberIn<unsigned>(*text).value_or(0) : 0;
    return number != 0 ? number : kDefault;
}

// The folder of the library or program that this code is linked into.
std::string OwnFolder() {
    Dl_info info = {};
    std::error_code error;
    if (dladdr(reinterpret_cast<void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr) {
        return ".";
    }
    const auto path = std::filesystem::canonical(info.dli_fname, error);
    return error ? "." : path.parent_path().string();
}

}  // namespace

PrefixSystem::PrefixSystem(const std::string& prefix)
    : paths(prefix, CodePageOf(prefix)),
      m_registry(MakeRegistry(prefix, NativeFiles(), paths.CodePage())),
      m_files(MakeFiles(paths, *m_registry)),
      m_libraries(MakeLibraries(paths, OwnFolder())),
      m_processes(std::make_unique<PrefixProcesses>(*m_files, *m_registry)),
      m_windows(std::make_unique<NoWindows>()),
      m_dialogs(std::make_unique<HostedDialogs>(paths.CodePage())),
      system{*m_files,     *m_registry, *m_processes,  *m_windows,
             *m_libraries, *m_dialogs,  NativeClock(), paths.CodePage()} {}

}  // namespace prefix

namespace {

std::string HomeFolder() {
    if (const auto home = Environment("HOME")) return *home;
    const passwd* user = getpwuid(getuid());
    return user != nullptr ? user->pw_dir : "/";
}

std::string PrefixFolder() {
    const auto named = Environment("WINEPREFIX");
    std::error_code ignored;
    return std::filesystem::absolute(named ? *named : HomeFolder() + "/.wine", ignored).string();
}

const prefix::PrefixSystem& Native() {
    static const prefix::PrefixSystem system(PrefixFolder());
    return system;
}

}  // namespace

const System& NativeSystem() {
    return Native().system;
}

std::optional<std::string> NativePathOf(std::string_view windowsPath) {
    return Native().paths.NativePath(windowsPath);
}

std::optional<std::string> WindowsPathOf(std::string_view nativePath) {
    return Native().paths.WindowsPath(std::string(nativePath));
}

}  // namespace platform
