#include "platform/prefix/prefix_system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/prefix_folder.h"

namespace test {

namespace {

class PrefixStore : public FilesStore {
  public:
    PrefixStore() : m_system(m_prefix.Path()) {
        std::filesystem::create_directory(m_prefix.DriveC() / "Work");
    }
    platform::Files& Get() override { return m_system.system.files; }
    std::string Root() override { return "c:\\work\\"; }
    void MakeReadOnly(const std::string& path) override {
        ProtectOnDisk(m_prefix.DriveC() / "Work" / path.substr(Root().size()));
    }

  private:
    PrefixFolder m_prefix;
    platform::prefix::PrefixSystem m_system;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(OfPrefix, FilesContract,
                         ::testing::Values(StoreKind{"Prefix", MakeStore<PrefixStore>}), NameOf);

}  // namespace test
