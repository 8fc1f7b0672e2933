#pragma once

#include "platform/os/files.h"

namespace platform::windows {

// The machine's files by Windows paths in a code page: CP_UTF8, or CP_ACP for the system's.
class WindowsFiles : public Files {
  public:
    explicit WindowsFiles(unsigned codePage) : m_codePage(codePage) {}

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
    Status RemoveFolder(std::string_view path) override;
    Result<std::string> RealPath(std::string_view path) override;
    Result<std::string> ShortPath(std::string_view path) override;
    Result<std::string> TempFolder() override;
    Result<std::uint64_t> FreeSpace(std::string_view folder) override;
    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override;
    char Separator() const override { return '\\'; }

  private:
    std::wstring Name(std::string_view path) const;

    unsigned m_codePage;
};

}  // namespace platform::windows
