#pragma once

#include <memory>
#include <string>

#include "frame/interface/translators.h"
#include "host/base/failure.h"
#include "host/eudora/setup.h"
#include "host/translator/module_library.h"

namespace host::translator {

// The translator module, loaded and initialised; one at a time in a process. Translators and
// sessions made from it must be gone before it is.
class TranslatorHost {
  public:
    // Loads the library of this program and initialises it. kRefused, with the module's own reason,
    // if Eudora or a language bundle is missing.
    static base::Result<std::unique_ptr<TranslatorHost>> Start(const eudora::InitTexts& texts);
    // Only loads it.
    static base::Result<std::unique_ptr<TranslatorHost>> Load(const eudora::InitTexts& texts);
    ~TranslatorHost();
    TranslatorHost(const TranslatorHost&) = delete;
    TranslatorHost& operator=(const TranslatorHost&) = delete;

    // Gives the module's code; `message` gets its text (system code page), empty if there is none.
    // A null language keeps the one of the last call.
    RRETURNCODE Init(const char* language, std::string& message);
    RRETURNCODE Uninit();
    RRETURNCODE RemoveTranslator();
    int SelfDiagnose();
    // The object that the module makes for the data kind (1 address book, 20 mail).
    RRETURNCODE NewTranslator(unsigned long kind, std::unique_ptr<CRRecordTranslator>& translator);

    CEudoraTransUtil* Util() const { return m_util; }

  private:
    TranslatorHost(std::unique_ptr<ModuleLibrary> library, eudora::InitTexts texts)
        : m_library(std::move(library)), m_texts(std::move(texts)) {}

    std::unique_ptr<ModuleLibrary> m_library;
    eudora::InitTexts m_texts;
    CEudoraTransUtil* m_util = nullptr;
};

}  // namespace host::translator
