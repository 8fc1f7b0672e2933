#include "host/translator/module_library.h"

#include <filesystem>

#include "host/base/failure.h"
#include "host/base/native_path.h"
#include "platform/os/program.h"
#include "platform/os/system.h"

namespace host::translator {

namespace {

template <class Function>
bool Bind(platform::Library& library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(library.Symbol(name));
    return function != nullptr;
}

}  // namespace

base::Result<std::string> ModuleLibrary::Find() {
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

base::Result<std::unique_ptr<ModuleLibrary>> ModuleLibrary::Load(const std::string& path) {
    auto library = platform::LoadNativeLibrary(path);
    if (!library) {
        return base::Refused(
            "the translator library cannot be loaded: " + library.Error().Message(),
            "install kvsync anew");
    }
    std::unique_ptr<ModuleLibrary> loaded(new ModuleLibrary(*std::move(library)));
    auto& symbols = *loaded->m_library;
    if (!Bind(symbols, exports::kInitTranslator, loaded->InitTranslator) ||
        !Bind(symbols, exports::kInitTranslatorEx, loaded->InitTranslatorEx) ||
        !Bind(symbols, exports::kUninitTranslator, loaded->UninitTranslator) ||
        !Bind(symbols, exports::kGetTranslatorObject, loaded->GetTranslatorObject) ||
        !Bind(symbols, exports::kRemoveTranslator, loaded->RemoveTranslator) ||
        !Bind(symbols, exports::kSelfDiagnose, loaded->SelfDiagnose)) {
        return base::Refused(path + " is no translator library of this kvsync",
                             "install both anew");
    }
    return loaded;
}

}  // namespace host::translator
