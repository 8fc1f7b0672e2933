#include "host/shell/console.h"

#include "host/base/failure.h"

namespace host::shell {

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
