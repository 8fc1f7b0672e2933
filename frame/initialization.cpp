#include "frame/initialization.h"

#include <cstring>

#include "platform/kvutil/kvutil.h"

namespace frame {

namespace {

constexpr const char* kBundleBase = "kvlEUD";

bool LoadBundle(CEudoraTransUtil& util) {
    const CString& folder = util.csSettingsDir.IsEmpty() ? util.csEnvDir : util.csSettingsDir;
    if (util.bundle.Load(kBundleBase, folder, util.csLanguage, util.csAltLanguage, false) ||
        util.bundle.Load(kBundleBase, "", util.csLanguage, util.csAltLanguage, false)) {
        return true;
    }
    KV_LOG(1, "ERROR: Language bundle load failed Base=%s, Path=%s, LangId=%s\n", kBundleBase,
           folder.Str().c_str(), util.csLanguage.Str().c_str());
    SetLastVornErrorString("Unable to locate any resource DLL.");
    return false;
}

void SetIfGiven(CString& target, const char* text) {
    if (text != nullptr) target = text;
}

}  // namespace

RRETURNCODE Initialize(CEudoraTransUtil& util, const tagRENVSETTINGS* env) {
    KV_LOG(5, "Enter - kvtEudora : InitTranslator\n");
    util.hModule = platform::OwnInstance();
    util.csEnvDir = env != nullptr ? env->pszEnvDir : nullptr;
    util.csEnvText = env != nullptr ? env->pszEnvText : nullptr;
    if (!LoadBundle(util)) return RRC_FAILED;
    CString program;
    if (!util.FindEudora(program)) {
        KV_LOG(1, "Eudora Pro doesn't installed in your machine");
        util.AddError(StringId::kEudoraMissing);
        return RRC_FAILED;
    }
    util.FindNicknameFile(program);
    return RRC_OK;
}

RRETURNCODE InitializeWith(CEudoraTransUtil& util, const tagRENVSETTINGS* env,
                           const tagRTRANSSETTINGS* settings, const char* language, char* message,
                           int length) {
    if (settings != nullptr) {
        SetIfGiven(util.csSettingsDir, settings->pszSettingsDir);
        SetIfGiven(util.csTransText, settings->pszTransText);
        SetIfGiven(util.csAltLanguage, settings->pszAltLanguage);
    }
    SetIfGiven(util.csLanguage, language);
    const RRETURNCODE code = Initialize(util, env);
    if (code != RRC_OK && message != nullptr && length > 0) {
        CString oldest;
        util.GetNextError(oldest);
        std::strncpy(message, oldest, static_cast<std::size_t>(length));
    }
    return code;
}

}  // namespace frame
