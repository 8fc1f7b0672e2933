#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "host/base/failure.h"
#include "host/translator/translator_session.h"
#include "host/translator/translator_host.h"

namespace host::shell {

// "contacts", "mail", "other" (a kind that the module does not know) or a number.
std::optional<unsigned long> ParseKind(std::string_view text);

// What the operations of the shell work on: the loaded module and the one translator in hand.
class Console {
  public:
    // Makes the translator of the kind; kFailed if the module gives none.
    static base::Result<Console> Create(translator::TranslatorHost& host, unsigned long kind);

    // Releases the translator in hand and makes a new one. After a failure there is none, and the
    // next attempt may succeed.
    RRETURNCODE Renew(unsigned long kind);

    translator::TranslatorHost& Module() { return *m_host; }
    CRRecordTranslator* Translator() { return m_translator.get(); }
    // Made anew after each Init: it serves back the object that Init gave.
    translator::HostContext& Context();

    // Of the translator that was made last.
    unsigned long Kind() const { return m_kind; }

  private:
    explicit Console(translator::TranslatorHost& host) : m_host(&host) {}

    translator::TranslatorHost* m_host;
    std::unique_ptr<CRRecordTranslator> m_translator;
    std::unique_ptr<translator::HostContext> m_context;
    unsigned long m_kind = 0;
};

}  // namespace host::shell
