#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>

#include "platform/os/files.h"
#include "tests/platform/temp_folder.h"

namespace test {

inline void ProtectOnDisk(const std::filesystem::path& path) {
    using std::filesystem::perms;
    std::filesystem::permissions(path, perms::owner_read | perms::group_read);
}

// One file system under test with an empty folder to work in. Names are matched without regard to
// case where paths are Windows paths, and only there.
class FilesStore {
  public:
    virtual ~FilesStore() = default;
    virtual platform::Files& Get() = 0;
    virtual std::string Root() = 0;  // ends in a separator
    virtual void MakeReadOnly(const std::string& path) { ProtectOnDisk(path); }
};

// Files whose paths are the machine's own.
template <platform::Files& (*kFiles)()>
class DiskStore : public FilesStore {
  public:
    platform::Files& Get() override { return kFiles(); }
    std::string Root() override { return m_folder.Path().string() + kFiles().Separator(); }

  private:
    TempFolder m_folder;
};

struct StoreKind {
    const char* name;
    std::function<std::unique_ptr<FilesStore>()> make;
};

inline void PrintTo(const StoreKind& kind, std::ostream* out) {
    *out << kind.name;
}

inline std::string NameOf(const ::testing::TestParamInfo<StoreKind>& tested) {
    return tested.param.name;
}

template <class Store>
std::unique_ptr<FilesStore> MakeStore() {
    return std::make_unique<Store>();
}

// The promises of platform::Files, the same for every implementation.
class FilesContract : public ::testing::TestWithParam<StoreKind> {
  protected:
    FilesContract() : m_store(GetParam().make()), m_files(m_store->Get()) {}

    std::string At(std::string_view name) const { return m_store->Root() + std::string(name); }
    void Put(std::string_view name, std::string_view content) {
        (void)m_files.Delete(At(name));
        auto file = m_files.Open(At(name), platform::OpenMode::kCreateNew, platform::Share::kNone);
        ASSERT_TRUE(file) << file.Error().Message();
        ASSERT_TRUE((*file)->Write(content));
        ASSERT_TRUE((*file)->Close());
    }
    // The text of the failure if the file cannot be read.
    std::string Content(std::string_view name) {
        auto content = platform::ReadWhole(m_files, At(name), 1 << 28);
        return content ? *content : content.Error().Message();
    }
    std::set<std::string> Names(std::string_view pattern = "*");

    std::unique_ptr<FilesStore> m_store;
    platform::Files& m_files;
};

// What a test expects of a result or a status: nothing, or a code.
template <class Result>
std::optional<platform::ErrorCode> CodeOf(const Result& result) {
    if (result) return std::nullopt;
    return result.Error().code;
}

}  // namespace test

namespace platform {

inline void PrintTo(ErrorCode code, std::ostream* out) {
    *out << Failure{code, {}}.Message();
}

}  // namespace platform
