#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>

#include "platform/os/files.h"

namespace test {

// One file system under test with an empty folder to work in.
class FilesStore {
  public:
    virtual ~FilesStore() = default;
    virtual platform::Files& Get() = 0;
    virtual std::string Root() = 0;  // ends in a separator
    virtual void MakeReadOnly(const std::string& path) = 0;
    virtual bool IgnoresCase() const = 0;
    // Whether a move to the same name in other case is seen in the folder; not under Wine.
    virtual bool ShowsNewCase() const { return IgnoresCase(); }
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
        auto file = m_files.Open(At(name), platform::OpenMode::kCreate, platform::Share::kNone);
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

// What a test expects of a result: nothing, or a code.
inline std::optional<platform::ErrorCode> CodeOf(const platform::Status& status) {
    if (status) return std::nullopt;
    return status.Error().code;
}

template <class T>
std::optional<platform::ErrorCode> CodeOf(const platform::Result<T>& result) {
    if (result) return std::nullopt;
    return result.Error().code;
}

}  // namespace test

namespace platform {

inline void PrintTo(ErrorCode code, std::ostream* out) {
    *out << Failure{code, {}}.Message();
}

}  // namespace platform
