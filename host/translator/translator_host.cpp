#include "host/translator/translator_host.h"

#include <cstring>

#include "host/base/failure.h"
#include "host/base/native_path.h"

namespace host::translator {

namespace {

constexpr int kMessageSize = 512;

tagRENVSETTINGS EnvSettings(const eudora::InitTexts& texts) {
    return {texts.envDir.c_str(), ""};
}

tagRTRANSSETTINGS TransSettings(const eudora::InitTexts& texts) {
    return {0, texts.settingsDir.c_str(), "", texts.altLanguage.c_str()};
}

}  // namespace

base::Result<std::unique_ptr<TranslatorHost>> TranslatorHost::Load(const eudora::InitTexts& texts) {
    auto path = ModuleLibrary::Find();
    if (!path) return path.Error();
    auto library = ModuleLibrary::Load(*path);
    if (!library) return library.Error();
    return std::unique_ptr<TranslatorHost>(new TranslatorHost(*std::move(library), texts));
}

base::Result<std::unique_ptr<TranslatorHost>> TranslatorHost::Start(
    const eudora::InitTexts& texts) {
    auto host = Load(texts);
    if (!host) return host.Error();
    std::string message;
    if ((*host)->Init(texts.language.c_str(), message) != RRC_OK) {
        if (message.empty()) {
            return base::Refused("no language bundle kvlEUD*.dll is beside the translator library",
                                 "install kvsync completely");
        }
        return base::Refused("the translator cannot start: " + base::ToUtf8(message),
                             "kvsync doctor tells where it looks");
    }
    return host;
}

TranslatorHost::~TranslatorHost() {
    // The shell may bring up Eudora's library again after an Uninit of its own.
    Uninit();
}

RRETURNCODE TranslatorHost::Init(const char* language, std::string& message) {
    tagRENVSETTINGS env = EnvSettings(m_texts);
    tagRTRANSSETTINGS settings = TransSettings(m_texts);
    RWORD word = 0;
    char buffer[kMessageSize] = {};
    const RRETURNCODE code = m_library->InitTranslatorEx(&env, &settings, language, &word, &m_util,
                                                         buffer, kMessageSize);
    message.assign(buffer, strnlen(buffer, kMessageSize));
    return code;
}

RRETURNCODE TranslatorHost::Uninit() {
    return m_library->UninitTranslator();
}

RRETURNCODE TranslatorHost::RemoveTranslator() {
    tagRENVSETTINGS env = EnvSettings(m_texts);
    tagRTRANSSETTINGS settings = TransSettings(m_texts);
    char buffer[kMessageSize] = {};
    return m_library->RemoveTranslator(env, settings, buffer, kMessageSize);
}

int TranslatorHost::SelfDiagnose() {
    tagRTRANSSETTINGS settings = TransSettings(m_texts);
    char buffer[kMessageSize] = {};
    return m_library->SelfDiagnose(&settings, buffer, kMessageSize);
}

RRETURNCODE TranslatorHost::NewTranslator(unsigned long kind,
                                          std::unique_ptr<CRRecordTranslator>& translator) {
    CRRecordTranslator* made = nullptr;
    const RRETURNCODE code = m_library->GetTranslatorObject(kind, 0, &made);
    translator.reset(made);
    return code == RRC_OK && made == nullptr ? RRC_FAILED : code;
}

}  // namespace host::translator
