#pragma once

#include "platform/os/files.h"

namespace platform::posix {

// The machine's file system under UTF-8 paths. Names that are no UTF-8 are listed as they are.
// Nobody deletes, moves or replaces a file that a program of ours has open.
class NativePosixFiles : public Files {
  public:
    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override;
    Result<FileInfo> Stat(std::string_view path) override;
    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override;
    Status Delete(std::string_view path) override;
    Status Copy(std::string_view from, std::string_view to) override;
    Status Move(std::string_view from, std::string_view to) override;
    Status MoveLazily(std::string_view from, std::string_view to) override;
    Status Settle(std::string_view folder) override;
    Status Replace(std::string_view from, std::string_view to) override;
    Status CreateFolder(std::string_view path) override;
    Status CreatePrivateFolder(std::string_view path) override;
    Status RemoveFolder(std::string_view path) override;
    Result<std::string> RealPath(std::string_view path) override;
    Result<std::string> ShortPath(std::string_view path) override;
    Result<std::string> TempFolder() override;
    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override;
    char Separator() const override { return '/'; }
    Result<std::uint64_t> FreeSpace(std::string_view folder) override;
    bool IsFree(std::string_view path) override;
};

// Makes an empty file `base` + four hex digits + ".tmp" that was not there before; gives its path.
Result<std::string> CreateNumberedFile(Files& files, const std::string& base);

}  // namespace platform::posix
