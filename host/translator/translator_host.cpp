#include "host/translator/translator_host.h"

#include <cstring>
#include <filesystem>

#include "host/base/paths.h"
#include "platform/os/program.h"

namespace host::translator {

namespace {

constexpr int kMessageSize = 512;
// The language bundles lie beside the library, where the module looks by itself.
constexpr tagRENVSETTINGS kEnvironment = {"", ""};

}  // namespace

base::Result<std::string> TranslatorHost::FindLibrary() {
    const char* const name = base::UsesWindowsPaths() ? "kvtEUD.dll" : "libkvtEUD.so";
    const std::filesystem::path folder = base::ToPath(platform::ProgramPath()).parent_path();
    const std::filesystem::path places[] = {folder / name,
                                            folder.parent_path() / "lib" / "kvsync" / name};
    std::error_code ignored;
    for (const auto& place : places) {
        if (std::filesystem::exists(place, ignored)) return base::FromPath(place);
    }
    return base::Refused("the translator library " + std::string(name) + " is neither in " +
                             base::FromPath(folder) + " nor in " +
                             base::FromPath(places[1].parent_path()),
                         "install kvsync completely");
}

base::Result<std::unique_ptr<TranslatorHost>> TranslatorHost::Load(const std::string& path,
                                                                   eudora::InitTexts texts) {
    auto library = platform::LoadNativeLibrary(path);
    if (!library) {
        return base::Refused(
            "the translator library cannot be loaded: " + library.Error().Message(),
            "install kvsync anew");
    }
    std::unique_ptr<TranslatorHost> host(new TranslatorHost(std::move(texts)));
    host->m_library = *std::move(library);
    if (host->BindExports()) return host;
    return base::Refused(path + " is no translator library of this kvsync", "install both anew");
}

base::Result<std::unique_ptr<TranslatorHost>> TranslatorHost::Start(
    const eudora::InitTexts& texts) {
    const auto path = FindLibrary();
    if (!path) return path.Error();
    auto host = Load(*path, texts);
    const auto started = host ? (*host)->Restart() : base::Status();
    if (!started) return started.Error();
    return host;
}

base::Status TranslatorHost::Restart() {
    if (m_isInitialised) Uninit();
    std::string message;
    if (Init(m_texts.language.c_str(), message) == RRC_OK) return {};
    if (message.empty()) {
        return base::Refused("no language bundle kvlEUD*.dll is beside the translator library",
                             "install kvsync completely");
    }
    return base::Refused("the translator cannot start: " + base::ToUtf8(message),
                         "kvsync doctor tells where it looks");
}

TranslatorHost::~TranslatorHost() {
    // The shell may bring up Eudora's library again after an Uninit of its own.
    if (m_isInitialised) Uninit();
}

bool TranslatorHost::BindExports() {
    const auto bind = [this]<class Function>(const char* name, Function& function) {
        function = reinterpret_cast<Function>(m_library->Symbol(name));
        return function != nullptr;
    };
    return m_library->Symbol(exports::kInitTranslator) != nullptr &&
           bind(exports::kInitTranslatorEx, m_init) && bind(exports::kUninitTranslator, m_uninit) &&
           bind(exports::kGetTranslatorObject, m_getObject) &&
           bind(exports::kRemoveTranslator, m_remove) &&
           bind(exports::kSelfDiagnose, m_selfDiagnose);
}

tagRTRANSSETTINGS TranslatorHost::Settings() const {
    return {0, m_texts.settingsDir.c_str(), "", ""};
}

RRETURNCODE TranslatorHost::Init(const char* language, std::string& message) {
    m_isInitialised = true;
    tagRENVSETTINGS env = kEnvironment;
    tagRTRANSSETTINGS settings = Settings();
    RWORD word = 0;
    char buffer[kMessageSize] = {};
    const RRETURNCODE code =
        m_init(&env, &settings, language, &word, &m_util, buffer, kMessageSize);
    message.assign(buffer, strnlen(buffer, kMessageSize));
    return code;
}

RRETURNCODE TranslatorHost::Uninit() {
    return m_uninit();
}

RRETURNCODE TranslatorHost::RemoveTranslator() {
    tagRENVSETTINGS env = kEnvironment;
    tagRTRANSSETTINGS settings = Settings();
    char buffer[kMessageSize] = {};
    return m_remove(env, settings, buffer, kMessageSize);
}

int TranslatorHost::SelfDiagnose() {
    tagRTRANSSETTINGS settings = Settings();
    char buffer[kMessageSize] = {};
    return m_selfDiagnose(&settings, buffer, kMessageSize);
}

RRETURNCODE TranslatorHost::NewTranslator(unsigned long kind,
                                          std::unique_ptr<CRRecordTranslator>& translator) {
    CRRecordTranslator* made = nullptr;
    const RRETURNCODE code = m_getObject(kind, 0, &made);
    translator.reset(made);
    return code == RRC_OK && made == nullptr ? RRC_FAILED : code;
}

}  // namespace host::translator
