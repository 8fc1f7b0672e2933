#include "platform/os/system.h"
#include "tests/platform/files_contract.h"

namespace test {

// The files that the module works on, where their paths are the machine's own.
platform::Files& ModuleFiles() {
    return platform::NativeSystem().files;
}

INSTANTIATE_TEST_SUITE_P(OfModule, FilesContract,
                         ::testing::Values(StoreKind{"Module", MakeStore<DiskStore<ModuleFiles>>}),
                         NameOf);

}  // namespace test
