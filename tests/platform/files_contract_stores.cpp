#include "platform/os/system.h"
#include "platform/testing/memory_files.h"
#include "tests/platform/files_contract.h"

namespace test {

namespace {

class MemoryStore : public FilesStore {
  public:
    MemoryStore() { m_files.MakeFolders("C:\\work"); }
    platform::Files& Get() override { return m_files; }
    std::string Root() override { return "C:\\work\\"; }
    void MakeReadOnly(const std::string& path) override { m_files.SetReadOnly(path); }

  private:
    platform::testing::MemoryFiles m_files;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Stores, FilesContract,
                         ::testing::Values(StoreKind{"Memory", MakeStore<MemoryStore>},
                                           StoreKind{"Native",
                                                     MakeStore<DiskStore<platform::NativeFiles>>}),
                         NameOf);

}  // namespace test
