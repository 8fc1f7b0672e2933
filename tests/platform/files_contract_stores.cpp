#include "platform/os/system.h"
#include "platform/testing/memory_files.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/temp_folder.h"

namespace test {

namespace {

class MemoryStore : public FilesStore {
  public:
    MemoryStore() { m_files.MakeFolders("C:\\work"); }
    platform::Files& Get() override { return m_files; }
    std::string Root() override { return "C:\\work\\"; }
    void MakeReadOnly(const std::string& path) override { m_files.SetReadOnly(path); }
    bool IgnoresCase() const override { return true; }

  private:
    platform::testing::MemoryFiles m_files;
};

class NativeStore : public FilesStore {
  public:
    platform::Files& Get() override { return platform::NativeFiles(); }
    std::string Root() override { return m_folder.Path().string() + Get().Separator(); }
    void MakeReadOnly(const std::string& path) override {
        using std::filesystem::perms;
        std::filesystem::permissions(path, perms::owner_read | perms::group_read);
    }
    bool IgnoresCase() const override { return platform::NativeFiles().Separator() == '\\'; }
    bool ShowsNewCase() const override { return false; }

  private:
    TempFolder m_folder;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Stores, FilesContract,
                         ::testing::Values(StoreKind{"Memory", MakeStore<MemoryStore>},
                                           StoreKind{"Native", MakeStore<NativeStore>}),
                         NameOf);

}  // namespace test
