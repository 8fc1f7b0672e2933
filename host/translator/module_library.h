#pragma once

#include <memory>
#include <string>

#include "frame/interface/exports.h"
#include "host/base/failure.h"
#include "platform/os/libraries.h"

namespace host::translator {

// The loaded translator library with its six exports bound. Unloaded by the destructor: every
// object that came from it must be gone by then.
class ModuleLibrary {
  public:
    // The library beside this program, or in ../lib/kvsync. kRefused if there is none.
    static base::Result<std::string> Find();
    // `path` is native. kRefused if the file cannot be loaded or lacks an export.
    static base::Result<std::unique_ptr<ModuleLibrary>> Load(const std::string& path);

    exports::InitTranslatorExFn InitTranslatorEx = nullptr;
    exports::InitTranslatorFn InitTranslator = nullptr;
    exports::UninitTranslatorFn UninitTranslator = nullptr;
    exports::GetTranslatorObjectFn GetTranslatorObject = nullptr;
    exports::RemoveTranslatorFn RemoveTranslator = nullptr;
    exports::SelfDiagnoseFn SelfDiagnose = nullptr;

  private:
    explicit ModuleLibrary(std::unique_ptr<platform::Library> library)
        : m_library(std::move(library)) {}

    std::unique_ptr<platform::Library> m_library;
};

}  // namespace host::translator
