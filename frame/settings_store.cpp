#include <cstdio>
#include <string>

#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/safe_write.h"

namespace {

constexpr int kLastNumber = 0xFFFE;
constexpr std::uint64_t kMostBytes = 16 * 1024 * 1024;  // of a file; the rest is ignored

}  // namespace

int CEudoraTransUtil::MakeSettingsPath(CString& out, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%.4X", static_cast<unsigned>(number));
    out = csSettingsDir.Str() + "\\EudoraAppInfo" + digits + ".cfg";
    return 1;
}

int CEudoraTransUtil::NextSettingsPath(CString& out) {
    CString path;
    for (int number = 1; number <= kLastNumber; ++number) {
        MakeSettingsPath(path, number);
        if (!system.files.Exists(path.Str())) {
            out = path;
            return 1;
        }
    }
    return 0;
}

int CEudoraTransUtil::LoadSettings(LPCTSTR path, CEudoraAppInfo& info) {
    if (!system.files.Exists(path)) return 0;
    try {
        const auto bytes = platform::ReadFront(system.files, path, kMostBytes);
        if (bytes) {
            CArchive archive{std::string_view(*bytes)};
            info.Serialize(archive);
            return 1;
        }
    } catch (const std::exception&) {
        // Damaged, or more than the memory holds: the same to the caller as a file that cannot be
        // read.
    }
    KV_LOG(1, "Unable to load app info file %s\n", path);
    return 0;
}

int CEudoraTransUtil::StoreSettings(CEudoraAppInfo& info, LPCTSTR path) {
    try {
        std::string bytes;
        CArchive archive(bytes);
        info.Serialize(archive);
        const auto stored = platform::WriteWhole(system.files, path, bytes);
        if (stored) return 1;
        AddCause(stored.Error());
    } catch (const std::exception&) {
    }
    KV_LOG(1, "Unable to store app info file %s\n", path);
    return 0;
}

int CEudoraTransUtil::DeleteAllSettings() {
    CString path;
    for (int number = 1; number <= kLastNumber; ++number) {
        MakeSettingsPath(path, number);
        if (!system.files.Exists(path.Str())) break;
        KV_LOG(5, "Deleting file: %s\n", path.Str().c_str());
        (void)system.files.Delete(path.Str());
    }
    return 0;
}
