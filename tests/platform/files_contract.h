#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>

#include "platform/os/system.h"
#include "tests/platform/temp_folder.h"

namespace platform {

inline void PrintTo(ErrorCode code, std::ostream* out) {
    *out << Failure{code, {}}.Message();
}

}  // namespace platform

namespace test {

// What a test expects of a result or a status: nothing, or a code.
template <class Result>
std::optional<platform::ErrorCode> CodeOf(const Result& result) {
    if (result) return std::nullopt;
    return result.Error().code;
}

// One file system under test with an empty folder to work in. Names are matched without regard to
// case where paths are Windows paths, and only there.
class FilesStore {
  public:
    virtual ~FilesStore() = default;
    virtual platform::Files& Get() = 0;
    virtual std::string Root() = 0;  // ends in a separator
    virtual void MakeReadOnly(const std::string& path) {
        std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    }
};

template <class Store>
std::unique_ptr<FilesStore> MakeStore() {
    return std::make_unique<Store>();
}

// The promises of platform::Files, the same for every implementation.
class FilesContract : public ::testing::TestWithParam<std::unique_ptr<FilesStore> (*)()> {
  protected:
    FilesContract() : m_store(GetParam()()), m_files(m_store->Get()) {}

    std::string At(std::string_view name) const { return m_store->Root().append(name); }
    void Put(std::string_view name, std::string_view content) {
        (void)m_files.Delete(At(name));
        auto file = m_files.Open(At(name), platform::OpenMode::kCreateNew, platform::Share::kNone);
        ASSERT_TRUE(file && (*file)->Write(content) && (*file)->Close());
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

}  // namespace test
