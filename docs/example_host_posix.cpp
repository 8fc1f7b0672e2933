// A whole host for the translator module, from load to unload: prints nickname and address of
// every contact. docs/writing-a-host.md walks through it.
#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <string>

#include "frame/interface/exports.h"
#include "frame/interface/translators.h"
#include "platform/kvutil/kvutil.h"

namespace {

// [context] The module asks its host for the object that initialisation handed out.
class Context final : public CRHostContext {
  public:
    explicit Context(CEudoraTransUtil* util) : m_util(util) {}
    void GetContextValue1(RWORD* value) override { *value = 0; }
    void GetContextValue2(RWORD* value) override { *value = 0; }
    void GetContextValue3(RWORD* value) override { *value = 0; }
    void GetContextValue4(RWORD* value) override { *value = 0; }
    void GetUtil(RWORD* value) override { *value = reinterpret_cast<RWORD>(m_util); }
    void GetContextValue5(RWORD* value) override { *value = 0; }
    void GetContextValue6(RWORD* value) override { *value = 0; }
    void GetContextValue7(RWORD* value) override { *value = 0; }

  private:
    CEudoraTransUtil* m_util;
};
// [/context]

// [field] A text block that GetField hands out belongs to the host.
std::string Field(CRRecordTranslator& translator, const char* id) {
    unsigned long type = 4;
    char* block = nullptr;
    if (translator.GetField(id, &type, &block) != RRC_OK || block == nullptr) return {};
    std::string text = block;
    FreeVornString(block);
    return text;
}
// [/field]

// [walk] From the choice of the store to its end.
int PrintContacts(CRRecordTranslator& translator, CEudoraTransUtil* util) {
    Context context(util);
    CString selection, summary;
    RRETURNCODE code = translator.GetAppInfo(0, &context, selection, 0, summary, 0);
    if (code == RRC_OK) code = translator.Open(0, 0, 0, 0, &context, 0);
    // A message beside code 0 says that not all of the store could be read.
    bool isWhole = code == RRC_OK;
    for (CString message; translator.GetNextErrorMessage(message) == RRC_OK; isWhole = false) {
        std::puts(message);
    }
    if (!isWhole) return 1;
    for (code = translator.MoveFirst(); code == RRC_OK; code = translator.MoveNext()) {
        CString id;
        translator.GetRecordID(id);
        std::printf("%s <%s>\n", static_cast<const char*>(id), Field(translator, "6").c_str());
    }
    translator.Close(0);
    return code == RRC_EOF ? 0 : 1;
}
// [/walk]

}  // namespace

// [main] Load, bind, initialise, work, and all of it back.
int main(int argc, char** argv) {
    if (argc != 2) {
        std::puts("usage: example_host LIBRARY");
        return 2;
    }
    void* const library = dlopen(argv[1], RTLD_NOW);
    if (library == nullptr) {
        std::puts(dlerror());
        return 1;
    }
    const auto init =
        reinterpret_cast<exports::InitTranslatorExFn>(dlsym(library, exports::kInitTranslatorEx));
    const auto make = reinterpret_cast<exports::GetTranslatorObjectFn>(
        dlsym(library, exports::kGetTranslatorObject));
    const auto uninit =
        reinterpret_cast<exports::UninitTranslatorFn>(dlsym(library, exports::kUninitTranslator));
    if (init == nullptr || make == nullptr || uninit == nullptr) return 1;

    tagRENVSETTINGS env{"", ""};
    tagRTRANSSETTINGS settings{0, "", "", ""};
    RWORD word = 0;
    CEudoraTransUtil* util = nullptr;
    char message[256] = {};
    if (init(&env, &settings, "EN", &word, &util, message, sizeof message) != RRC_OK) {
        std::printf("%.256s\n", message);
        return 1;
    }
    int result = 1;
    CRRecordTranslator* made = nullptr;
    if (make(1, 0, &made) == RRC_OK && made != nullptr) {
        const std::unique_ptr<CRRecordTranslator> translator(made);
        result = PrintContacts(*translator, util);
    }
    uninit();
    dlclose(library);
    return result;
}
// [/main]
