#include "platform/prefix/prefix_system.h"
#include "tests/platform/files_contract.h"
#include "tests/platform/prefix_folder.h"
#include "tests/platform/registry_contract.h"

namespace test {

namespace {

class PrefixStore : public FilesStore {
  public:
    PrefixStore() { std::filesystem::create_directory(m_prefix.DriveC() / "Work"); }
    platform::Files& Get() override { return m_system.system.files; }
    std::string Root() override { return "c:\\work\\"; }
    void MakeReadOnly(const std::string& path) override {
        FilesStore::MakeReadOnly(m_prefix.DriveC() / "Work" / path.substr(Root().size()));
    }

  private:
    PrefixFolder m_prefix;
    platform::prefix::PrefixSystem m_system{m_prefix.Path()};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Prefix, FilesContract, ::testing::Values(&MakeStore<PrefixStore>));

TEST(RegistryContract, Prefix) {
    const PrefixFolder prefix;
    const auto registry =
        platform::prefix::MakeRegistry(prefix.Path(), platform::NativeFiles(), 1252);
    KeepsWhatIsWritten(*registry, platform::RegistryRoot::kLocalMachine);
    KeepsWhatIsWritten(*registry, platform::RegistryRoot::kCurrentUser);
}

}  // namespace test
