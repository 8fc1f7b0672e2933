#include "platform/os/system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/temp_folder.h"

namespace test {

namespace {

// The files that the module works on, where their paths are the machine's own.
class ModuleStore : public FilesStore {
  public:
    platform::Files& Get() override { return platform::NativeSystem().files; }
    std::string Root() override { return m_folder.Path().string() + "\\"; }
    void MakeReadOnly(const std::string& path) override {
        using std::filesystem::perms;
        std::filesystem::permissions(path, perms::owner_read | perms::group_read);
    }
    bool IgnoresCase() const override { return true; }
    bool ShowsNewCase() const override { return false; }

  private:
    TempFolder m_folder;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(OfModule, FilesContract,
                         ::testing::Values(StoreKind{"Module", MakeStore<ModuleStore>}), NameOf);

}  // namespace test
