#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
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

// Why it failed, without names and numbers; empty if it did not.
template <class Result>
std::string Reason(const Result& result) {
    return result ? "" : platform::Failure{result.Error().code, {}}.Message();
}

// One file system under test with an empty folder to work in. Names are matched without regard to
// case where paths are Windows paths, and only there.
struct FilesStore {
    std::shared_ptr<void> owner;
    platform::Files& files;
    std::string root;  // ends in a separator
    std::function<void(const std::string& name)> makeReadOnly;

    // The path of a name, whose folders end in slashes.
    std::string At(std::string_view name) const {
        std::string path = root;
        for (const char byte : name) path += byte == '/' ? files.Separator() : byte;
        return path;
    }
};

// The promises of platform::Files, the same for every implementation.
class FilesContract : public ::testing::TestWithParam<FilesStore (*)()> {
  protected:
    std::string At(std::string_view name) const { return m_store.At(name); }
    void Put(std::string_view name, std::string_view content);
    // The text of the failure if the file cannot be read.
    std::string Content(std::string_view name);
    // In the order of their bytes; folders end in a slash.
    std::string Names(std::string_view pattern = "*");

    FilesStore m_store = GetParam()();
    platform::Files& m_files = m_store.files;
};

// Files in memory are the model of all others.
class FilesWalk : public FilesContract {};

inline constexpr char kTestKey[] = "SOFTWARE\\Kv Test\\Values";

// The promises of platform::Registry: both kinds come back under names in any case, the later one
// counts, and one kind is not taken for the other. The key is new.
void KeepsWhatIsWritten(platform::Registry& registry, platform::RegistryRoot root);

}  // namespace test
