#include "host/shell/console.h"

#include "host/translator/translator_session.h"
#include "text/ascii.h"

namespace host::shell {

std::optional<unsigned long> ParseKind(std::string_view text) {
    if (text == "contacts") return translator::kContactsKind;
    if (text == "mail") return translator::kMailKind;
    if (text == "other") return 2;
    return text::NumberIn<unsigned long>(text);
}

base::Result<Console> Console::Create(translator::TranslatorHost& host, unsigned long kind) {
    Console console(host);
    if (console.Renew(kind) != RRC_OK) {
        return base::Failed("the translator library gives no translator for data kind " +
                            std::to_string(kind));
    }
    return console;
}

RRETURNCODE Console::Renew(unsigned long kind) {
    m_translator.reset();
    m_kind = kind;
    return m_host->NewTranslator(kind, m_translator);
}

translator::HostContext& Console::Context() {
    m_context = std::make_unique<translator::HostContext>(m_host->Util());
    return *m_context;
}

}  // namespace host::shell
