#include "frame/trans_util.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "integration/locate/locate.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/safe_write.h"

using frame::StringId;

namespace {

CEudoraTransUtil*& Replacement() {
    static CEudoraTransUtil* util = nullptr;
    return util;
}

constexpr int kLastNumber = 0xFFFE;                     // of a settings file
constexpr std::uint64_t kMostBytes = 16 * 1024 * 1024;  // of one that are read

RRETURNCODE TakeOldest(CStringArray& queue, CString& out) {
    if (queue.IsEmpty()) return RRC_NONE;
    out = queue.GetAt(0);
    queue.RemoveAt(0);
    return RRC_OK;
}

// Replaces the conversions of `format`, which must be exactly one "%s" and, where `number` is
// given, one "%d" behind it; "%%" gives a percent sign. A format with any other conversion is not
// ours to interpret: it stands as it is.
std::string FormatText(std::string_view format, std::string_view text, std::optional<int> number) {
    const std::string_view expected = number ? "sd" : "s";
    std::size_t done = 0;
    std::string result;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%') {
            result += format[i];
            continue;
        }
        if (++i == format.size()) return std::string(format);
        if (format[i] == '%') {
            result += '%';
        } else if (done < expected.size() && format[i] == expected[done]) {
            result += expected[done] == 's' ? std::string(text) : std::to_string(*number);
            ++done;
        } else {
            return std::string(format);
        }
    }
    return done == expected.size() ? result : std::string(format);
}

}  // namespace

CEudoraTransUtil& TransUtil() {
    static CEudoraTransUtil own(platform::NativeSystem());
    return Replacement() != nullptr ? *Replacement() : own;
}

void UseTransUtil(CEudoraTransUtil* util) {
    Replacement() = util;
}

CEudoraTransUtil::CEudoraTransUtil(const platform::System& theSystem)
    : system(theSystem), bundle(system.libraries), mapi(system) {}

CString CEudoraTransUtil::GetString(StringId id) {
    const auto number = static_cast<std::uint32_t>(id);
    CString text;
    if (!bundle.LoadString(number, text)) {
        KV_LOG(1, "WARNING: String for ID %u not found.(CEudoraTransUtil::GetString)", number);
    }
    return text;
}

CString CEudoraTransUtil::FormatString(StringId id, const CString& text) {
    return FormatText(GetString(id).Str(), text.Str(), std::nullopt);
}

CString CEudoraTransUtil::FormatString(StringId id, const CString& text, int number) {
    return FormatText(GetString(id).Str(), text.Str(), number);
}

void CEudoraTransUtil::AddError(StringId id) {
    saErrors.Add(GetString(id));
}

void CEudoraTransUtil::AddFileError(const platform::Failure& failure) {
    AddErrorText(FormatString(StringId::kCannotOpenFile, failure.context));
    AddCause(failure);
}

void CEudoraTransUtil::AddCause(const platform::Failure& failure) {
    if (failure.code == platform::ErrorCode::kNoSpace) AddError(StringId::kDiskFull);
    if (failure.code == platform::ErrorCode::kNoMemory) AddError(StringId::kNoMemory);
}

void CEudoraTransUtil::ClearMessages() {
    saErrors.RemoveAll();
    saWarnings.RemoveAll();
}

RRETURNCODE CEudoraTransUtil::GetNextError(CString& out) {
    return TakeOldest(saErrors, out);
}

RRETURNCODE CEudoraTransUtil::GetNextWarning(CString& out) {
    return TakeOldest(saWarnings, out);
}

CString CEudoraTransUtil::SettingsPath(int number) const {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%.4X", static_cast<unsigned>(number));
    return csSettingsDir.Str() + "\\EudoraAppInfo" + digits + ".cfg";
}

bool CEudoraTransUtil::NextSettingsPath(CString& out) const {
    for (int number = 1; number <= kLastNumber; ++number) {
        CString path = SettingsPath(number);
        if (system.files.Exists(path.Str())) continue;
        out = std::move(path);
        return true;
    }
    return false;
}

bool CEudoraTransUtil::LoadSettings(LPCTSTR path, CEudoraAppInfo& info) const {
    if (!system.files.Exists(path)) return false;
    try {
        if (const auto bytes = platform::ReadFront(system.files, path, kMostBytes)) {
            CArchive archive{std::string_view(*bytes)};
            info.Serialize(archive);
            return true;
        }
    } catch (const std::exception&) {
        // Damaged, or more than the memory holds: the same to the caller as a file that cannot be
        // read.
    }
    KV_LOG(1, "Unable to load app info file %s\n", path);
    return false;
}

bool CEudoraTransUtil::StoreSettings(CEudoraAppInfo& info, LPCTSTR path) {
    try {
        std::string bytes;
        CArchive archive(bytes);
        info.Serialize(archive);
        const auto stored = platform::WriteWhole(system.files, path, bytes);
        if (stored) return true;
        AddCause(stored.Error());
    } catch (const std::exception&) {
    }
    KV_LOG(1, "Unable to store app info file %s\n", path);
    return false;
}

void CEudoraTransUtil::DeleteAllSettings() const {
    for (int number = 1; number <= kLastNumber; ++number) {
        const CString path = SettingsPath(number);
        if (!system.files.Exists(path.Str())) break;
        KV_LOG(5, "Deleting file: %s\n", path.Str().c_str());
        (void)system.files.Delete(path.Str());
    }
}

bool CEudoraTransUtil::FindEudora(CString& csProgram) {
    return locate::FindEudora(system.registry, system.files, csEudoraDir, csProgram);
}

void CEudoraTransUtil::FindNicknameFile(CString csProgram) {
    csNicknamePath = locate::FindNicknameFile(system.files, csProgram, system.codePage);
}

int CEudoraTransUtil::CheckDefaultClient() {
    CString program;
    if (!FindEudora(program)) return 1;
    return locate::IsDefaultClient(system.registry, system.files, program) ? 0 : 2;
}
