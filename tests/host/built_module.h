#pragma once

#include <memory>

#include "host/eudora/setup.h"
#include "host/translator/translator_host.h"
#include "platform/os/program.h"
#include "tests/platform/temp_folder.h"

namespace host::testing {

// A Eudora folder of this process, in "E" with an empty address book, and the built translator
// library that lies beside the test. What the module is started on stays for its process.
struct BuiltModule {
    test::TempFolder root;
    std::filesystem::path eudora = root.Path() / "E";
    eudora::Setup setup;
    std::unique_ptr<translator::TranslatorHost> host;

    BuiltModule() {
        std::filesystem::create_directories(eudora / "Attach");
        test::WriteDisk(eudora / "nndbase.txt", "");
        (void)platform::SetEnvironment("XDG_STATE_HOME", root / "state");
        eudora::SetupOptions options;
        options.eudora = eudora.string();
        options.language = "EN";
        setup = *eudora::Prepare(options);
        Start();
    }
    void Start() {
        host.reset();
        host = *translator::TranslatorHost::Start(setup.init);
    }
};

inline BuiltModule& TheModule() {
    static BuiltModule module;
    return module;
}

}  // namespace host::testing
