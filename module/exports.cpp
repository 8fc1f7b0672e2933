#include "frame/interface/exports.h"

#include <memory>
#include <new>

#include "addressbook/eudora4.h"
#include "frame/trans_base.h"
#include "frame/trans_util.h"
#include "mailstore/eudora_mail.h"
#include "platform/os/system.h"

using frame::Entered;
using frame::Guarded;

namespace {

constexpr unsigned long kAddressBook = 1, kMail = 20;  // data kinds
constexpr const char* kEnter = "Enter - kvtEudora : ";

// Made while the library is loaded: the global object must be there before the first call, and the
// dialogs must know where the host's provider is found.
[[maybe_unused]] const bool g_loaded = [] {
    platform::SetDialogSource(DialogProvider);
    TransUtil();
    return true;
}();

std::unique_ptr<CREudoraTransBase> MakeTranslator(unsigned long kind) {
    if (kind == kAddressBook) return std::make_unique<CREudora4>();
    if (kind == kMail) return std::make_unique<CREudoraMail>();
    return std::make_unique<CREudoraTransBase>();
}

// Fills the out arguments of both initialisations, also for one that fails.
void HandOut(RWORD* pWord, CEudoraTransUtil** ppUtil) {
    if (pWord != nullptr) *pWord = 0;
    if (ppUtil != nullptr) *ppUtil = &TransUtil();
}

}  // namespace

extern "C" RRETURNCODE InitTranslator(tagRENVSETTINGS* pEnv, RWORD* pWord,
                                      CEudoraTransUtil** ppUtil) {
    return Guarded("InitTranslator", [&] {
        HandOut(pWord, ppUtil);
        return TransUtil().InitTranslator(pEnv);
    });
}

extern "C" RRETURNCODE InitTranslatorEx(tagRENVSETTINGS* pEnv, tagRTRANSSETTINGS* pSettings,
                                        const char* pszLanguage, RWORD* pWord,
                                        CEudoraTransUtil** ppUtil, char* pszMessage, int nLength) {
    return Entered(kEnter, "InitTranslatorEx", [&] {
        HandOut(pWord, ppUtil);
        return TransUtil().InitTranslatorEx(pEnv, pSettings, pszLanguage, pszMessage, nLength);
    });
}

extern "C" RRETURNCODE UninitTranslator() {
    return Entered(kEnter, "UninitTranslator", [] {
        TransUtil().mapi.MapiLogoff();
        TransUtil().mapi.UnloadMapiLibrary();
        return RRC_OK;
    });
}

extern "C" RRETURNCODE GetTranslatorObject(unsigned long nKind, RWORD,
                                           CRRecordTranslator** ppTranslator) {
    return Entered(kEnter, "GetTranslatorObject", [&] {
        try {
            *ppTranslator = MakeTranslator(nKind).release();
        } catch (const std::bad_alloc&) {
            KV_LOG(1,
                   "kvtEudora : GetTranslatorObject - Low memory. Unable to allocate required "
                   "memory\n");
            return RRC_FAILED;
        }
        return RRC_OK;
    });
}

// Both are found by the compiler's names for them.
RRETURNCODE RemoveTranslator(tagRENVSETTINGS&, tagRTRANSSETTINGS& settings, char*, int) {
    return Entered(kEnter, "RemoveTranslator", [&] {
        CEudoraTransUtil& util = TransUtil();
        if (settings.pszSettingsDir != nullptr) util.csSettingsDir = settings.pszSettingsDir;
        util.DeleteAllSettings();
        return RRC_OK;
    });
}

int SelfDiagnose(const tagRTRANSSETTINGS*, char*, int) {
    return 1;
}
