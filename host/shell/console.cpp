#include "host/shell/console.h"

#include "host/module/exit_code.h"

namespace host {

platform::Result<Console> Console::Create(TranslatorHost& host, unsigned long kind) {
    Console console(host);
    if (console.Renew(kind) != RRC_OK) {
        return Failed("the translator library gives no translator for data kind " +
                      std::to_string(kind));
    }
    return console;
}

RRETURNCODE Console::Renew(unsigned long kind) {
    m_translator.reset();
    ForgetFields(false);
    return m_host->NewTranslator(kind, m_translator);
}

HostContext& Console::Context() {
    m_context = std::make_unique<HostContext>(m_host->Util());
    return *m_context;
}

std::optional<unsigned long> Console::FieldType(const std::string& id) {
    // Before GetAppInfo or Open the list must not be asked for.
    if (m_types.empty() && m_fieldsReadable) {
        CString field, name;
        unsigned long type = 0, tag = 0;
        unsigned short ordinal = 0;
        RRETURNCODE code = m_translator->GetFirstFieldInfo(field, name, &type, &tag, &ordinal);
        for (; code == RRC_OK;
             code = m_translator->GetNextFieldInfo(field, name, &type, &tag, &ordinal)) {
            m_types[field.Str()] = type;
        }
    }
    const auto found = m_types.find(id);
    if (found == m_types.end()) return std::nullopt;
    return found->second;
}

void Console::ForgetFields(bool readable) {
    m_types.clear();
    m_fieldsReadable = readable;
}

}  // namespace host
