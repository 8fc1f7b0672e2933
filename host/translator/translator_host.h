#pragma once

#include <memory>
#include <string>

#include "frame/interface/exports.h"
#include "frame/interface/translators.h"
#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "platform/os/libraries.h"
#include "platform/os/not_copied.h"

// Loading the module and calling its exports (frame/interface/exports.h).
namespace host::translator {

// The translator library, loaded and, after Init, initialised; one at a time in a process. The
// destructor unloads it: translators and sessions made from it must be destroyed before.
class TranslatorHost : platform::NotCopied {
  public:
    // The native path of the library, in UTF-8: beside this program, or in ../lib/kvsync. kRefused
    // if there is none.
    static base::Result<std::string> FindLibrary();
    // Loads it. kRefused if that fails or an export is missing.
    static base::Result<std::unique_ptr<TranslatorHost>> Load(const std::string& path,
                                                              eudora::InitTexts texts);
    // Finds, loads and initialises it. kRefused, with the module's reason, if the module finds no
    // Eudora or no language bundle.
    static base::Result<std::unique_ptr<TranslatorHost>> Start(const eudora::InitTexts& texts);
    ~TranslatorHost();

    // Gives the module's code; `message` gets its text (system code page), empty if there is none.
    // A null language keeps the one of the last call.
    RRETURNCODE Init(const char* language, std::string& message);
    // Ends the module's use of Eudora and begins it anew, for another folder or mailbox. No session
    // may live.
    base::Status Restart();
    // The exported functions of these names, with their codes.
    RRETURNCODE Uninit();
    RRETURNCODE RemoveTranslator();
    int SelfDiagnose();
    // A new translator for the data kind (1 address book, 20 mail), owned by the caller; null after
    // a failure.
    RRETURNCODE NewTranslator(unsigned long kind, std::unique_ptr<CRRecordTranslator>& translator);

    // The module's global object, which the module owns; null before Init.
    CEudoraTransUtil* Util() const { return m_util; }

  private:
    explicit TranslatorHost(eudora::InitTexts texts) : m_texts(std::move(texts)) {}
    bool BindExports();
    tagRTRANSSETTINGS Settings() const;

    eudora::InitTexts m_texts;
    std::unique_ptr<platform::Library> m_library;
    exports::InitTranslatorExFn m_init = nullptr;
    exports::UninitTranslatorFn m_uninit = nullptr;
    exports::GetTranslatorObjectFn m_getObject = nullptr;
    exports::RemoveTranslatorFn m_remove = nullptr;
    exports::SelfDiagnoseFn m_selfDiagnose = nullptr;
    CEudoraTransUtil* m_util = nullptr;
    bool m_isInitialised = false;
};

}  // namespace host::translator
