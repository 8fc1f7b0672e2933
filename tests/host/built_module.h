#pragma once

#include <memory>
#include <stdexcept>

#include "host/eudora/setup.h"
#include "host/translator/translator_host.h"
#include "platform/os/program.h"
#include "tests/platform/temp_folder.h"

namespace host::testing {

// The value; the test ends with the reason if there is none.
template <class Value>
Value Needed(base::Result<Value> result) {
    if (!result) throw std::runtime_error(result.Error().Message());
    return *std::move(result);
}

// A Eudora folder of this process, in "E", and the built translator library that lies beside the
// test. What the module is started on stays for its process.
struct BuiltModule {
    test::TempFolder root;
    std::filesystem::path eudora = root.Path() / "E";
    eudora::Setup setup;
    std::unique_ptr<translator::TranslatorHost> host;

    // `fill` puts into the folder what lies there before the module starts.
    template <class Fill>
    explicit BuiltModule(const Fill& fill) {
        fill(eudora);
        (void)platform::SetEnvironment("XDG_STATE_HOME", root / "state");
        eudora::SetupOptions options;
        options.eudora = eudora.string();
        options.language = "EN";
        setup = Needed(eudora::Prepare(options));
        host = Needed(translator::TranslatorHost::Start(setup.init));
    }
};

}  // namespace host::testing
