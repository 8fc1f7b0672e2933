#include "frame/trans_util.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "integration/locate/locate.h"
#include "platform/os/safe_write.h"

using frame::StringId;

namespace {

CEudoraTransUtil*& Replacement() {
    static CEudoraTransUtil* util = nullptr;
    return util;
}

constexpr const char* kBundleBase = "kvlEUD";
constexpr int kLastNumber = 0xFFFE;                     // of a settings file
constexpr std::uint64_t kMostBytes = 16 * 1024 * 1024;  // of one that are read

RRETURNCODE TakeOldest(CStringArray& queue, CString& out) {
    if (queue.IsEmpty()) return RRC_NONE;
    out = queue.GetAt(0);
    queue.RemoveAt(0);
    return RRC_OK;
}

void SetIfGiven(CString& target, const char* text) {
    if (text != nullptr) target = text;
}

}  // namespace

CEudoraTransUtil& TransUtil() {
    static CEudoraTransUtil own(platform::NativeSystem());
    return Replacement() != nullptr ? *Replacement() : own;
}

void UseTransUtil(CEudoraTransUtil* util) {
    Replacement() = util;
}

RRETURNCODE CEudoraTransUtil::InitTranslator(const tagRENVSETTINGS* env) {
    KV_LOG(5, "Enter - kvtEudora : InitTranslator\n");
    hModule = platform::OwnInstance();
    csEnvDir = env != nullptr ? env->pszEnvDir : nullptr;
    csEnvText = env != nullptr ? env->pszEnvText : nullptr;
    if (!LoadBundle()) return RRC_FAILED;
    CString program;
    if (!locate::FindEudora(system.registry, system.files, csEudoraDir, program)) {
        KV_LOG(1, "Eudora Pro doesn't installed in your machine");
        AddError(StringId::kEudoraMissing);
        return RRC_FAILED;
    }
    csNicknamePath = locate::FindNicknameFile(system.files, program, system.codePage);
    return RRC_OK;
}

RRETURNCODE CEudoraTransUtil::InitTranslatorEx(const tagRENVSETTINGS* env,
                                               const tagRTRANSSETTINGS* settings,
                                               const char* language, char* message, int length) {
    if (settings != nullptr) {
        SetIfGiven(csSettingsDir, settings->pszSettingsDir);
        SetIfGiven(csTransText, settings->pszTransText);
        SetIfGiven(csAltLanguage, settings->pszAltLanguage);
    }
    SetIfGiven(csLanguage, language);
    const RRETURNCODE code = InitTranslator(env);
    if (code != RRC_OK && message != nullptr && length > 0) {
        CString oldest;
        GetNextError(oldest);
        std::strncpy(message, oldest, static_cast<std::size_t>(length));
    }
    return code;
}

bool CEudoraTransUtil::LoadBundle() {
    const CString& folder = csSettingsDir.IsEmpty() ? csEnvDir : csSettingsDir;
    for (const char* path : {folder.Str().c_str(), ""}) {
        if (bundle.Load(kBundleBase, path, csLanguage, csAltLanguage, false)) return true;
    }
    KV_LOG(1, "ERROR: Language bundle load failed Base=%s, Path=%s, LangId=%s\n", kBundleBase,
           folder.Str().c_str(), csLanguage.Str().c_str());
    SetLastVornErrorString("Unable to locate any resource DLL.");
    return false;
}

CString CEudoraTransUtil::GetString(StringId id) {
    const auto number = static_cast<std::uint32_t>(id);
    CString text;
    if (!bundle.LoadString(number, text)) {
        KV_LOG(1, "WARNING: String for ID %u not found.(CEudoraTransUtil::GetString)", number);
    }
    return text;
}

// "%%" gives a percent sign.
CString CEudoraTransUtil::FormatString(StringId id, const CString& text,
                                       std::optional<int> number) {
    CString format = GetString(id);
    const std::string_view expected = number ? "sd" : "s";
    std::size_t done = 0;
    std::string result;
    for (const char* at = format; *at != '\0'; ++at) {
        if (*at != '%') {
            result += *at;
        } else if (*++at == '%') {
            result += '%';
        } else if (done < expected.size() && *at == expected[done]) {
            result += *at == 's' ? text.Str() : std::to_string(*number);
            ++done;
        } else {
            return format;
        }
    }
    return done == expected.size() ? CString(result) : format;
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

int CEudoraTransUtil::CheckDefaultClient() {
    CString program;
    if (!locate::FindEudora(system.registry, system.files, csEudoraDir, program)) return 1;
    return locate::IsDefaultClient(system.registry, system.files, program) ? 0 : 2;
}

void frame::ReportException(const char* operation, const char* what) noexcept {
    try {
        KV_LOG(1, "ERROR: %s, %s\n", operation, what);
        TransUtil().AddErrorText((std::string(operation) + ": " + what).c_str());
    } catch (...) {
        // Out of memory: the result code has to do.
    }
}
