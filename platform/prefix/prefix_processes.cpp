#include "platform/prefix/prefix_processes.h"

#include <charconv>

#include "platform/os/profile.h"

namespace platform::prefix {

namespace {

constexpr std::uint64_t kLargestProfile = 1 << 20;

// The number at the beginning of a text, 0 if there is none.
int LeadingNumber(std::string_view text) {
    if (text.starts_with('+')) text.remove_prefix(1);
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

Result<std::unique_ptr<Process>> PrefixProcesses::Start(std::string_view commandLine) {
    return Failure{ErrorCode::kNotSupported, std::string(commandLine)};
}

Result<SystemVersion> PrefixProcesses::Version() {
    constexpr SystemVersion kDefault{6, 1};
    const char* key = "Software\\Microsoft\\Windows NT\\CurrentVersion";
    const auto root = RegistryRoot::kLocalMachine;
    // From Windows 10 on the text stays at 6.3 and the numbers count.
    const auto majorNumber = m_registry.ReadNumber(root, key, "CurrentMajorVersionNumber");
    const auto minorNumber = m_registry.ReadNumber(root, key, "CurrentMinorVersionNumber");
    if (majorNumber && minorNumber) return SystemVersion{*majorNumber, *minorNumber};
    const auto text = m_registry.ReadText(root, key, "CurrentVersion");
    if (!text) return kDefault;
    SystemVersion version;
    const char* end = text->data() + text->size();
    const auto [dot, majorError] = std::from_chars(text->data(), end, version.major);
    if (majorError != std::errc() || dot == end || *dot != '.') return kDefault;
    const auto [stop, minorError] = std::from_chars(dot + 1, end, version.minor);
    return minorError == std::errc() && stop == end ? version : kDefault;
}

int PrefixProcesses::ProfileNumber(std::string_view section, std::string_view key, int otherwise) {
    const auto profile =
        ReadWhole(m_files, "C:\\windows\\win.ini", kLargestProfile, Share::kReadWrite);
    if (!profile) return otherwise;
    const auto value = ProfileValue(*profile, section, key);
    return value ? LeadingNumber(*value) : otherwise;
}

}  // namespace platform::prefix
