#pragma once

#include "platform/os/files.h"
#include "platform/os/registry.h"
#include "platform/prefix/path_mapper.h"

namespace platform::prefix {

// The drives of a Wine prefix under Windows paths in the prefix's code page. Failures name the
// Windows path. Files whose names Windows could not hold are not listed; a character that the
// code page lacks is listed as "?".
class PrefixFiles : public Files {
  public:
    // All outlive this object. The registry says where the user's temporary folder is.
    PrefixFiles(const PathMapper& mapper, Files& native, Registry& registry)
        : m_mapper(mapper), m_native(native), m_registry(registry) {}

    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override;
    Result<FileInfo> Stat(std::string_view path) override;
    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override;
    Status Delete(std::string_view path) override;
    Status DeleteEvenReadOnly(std::string_view path) override;
    Status Copy(std::string_view from, std::string_view to) override;
    Status Move(std::string_view from, std::string_view to) override;
    Status Replace(std::string_view from, std::string_view to) override;
    Status CreateFolder(std::string_view path) override;
    Status CreatePrivateFolder(std::string_view path) override;
    Status RemoveFolder(std::string_view path) override;
    Result<std::string> RealPath(std::string_view path) override;
    Result<std::string> TempFolder() override;
    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override;
    char Separator() const override { return '\\'; }
    bool IsFree(std::string_view path) override;

  private:
    template <class Operation>
    auto At(std::string_view path, const Operation& operation) const -> decltype(operation(path));
    template <class Operation>
    Status Between(std::string_view from, std::string_view to, const Operation& operation) const;

    const PathMapper& m_mapper;
    Files& m_native;
    Registry& m_registry;
};

}  // namespace platform::prefix
