#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/files.h"

namespace platform::testing {

struct MemoryNode;

// A file system in memory with Windows paths. Names match in any case of ASCII letters, sharing
// modes hold, and folders list their files in the order of creation. The current folder is C:\.
// Each change of a file is one second later than the one before. Changes of names are durable at
// once, content only when it is flushed.
class MemoryFiles : public Files {
  public:
    explicit MemoryFiles(unsigned codePage = 1252);
    ~MemoryFiles() override;

    // Creates a durable file with its folders and drive, or replaces its content.
    void Put(std::string_view path, std::string_view content);
    // Nothing if there is no such file.
    std::optional<std::string> Get(std::string_view path) const;
    void MakeFolders(std::string_view path);
    void SetReadOnly(std::string_view path, bool readOnly = true);
    void SetModified(std::string_view path, std::chrono::system_clock::time_point time);
    // Reads of any byte at or behind that place fail from now on, like those of a bad disk.
    void SetBadFrom(std::string_view path, std::uint64_t place);
    // Gives a file a second name, which every operation finds too.
    void SetShortName(std::string_view path, std::string_view name);
    // A write that makes all contents together larger fails with kNoSpace after what fits.
    void LimitDisk(std::optional<std::uint64_t> bytes) { m_limit = bytes; }
    // Drops unflushed content, as a power failure does. Open files stay usable, but their changes
    // no longer reach the disk.
    void Crash();
    // The paths of all files, folder by folder, for seeing what was left behind.
    std::vector<std::string> AllFiles() const;
    int OpenCount() const { return m_openCount; }

    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override;
    Result<FileInfo> Stat(std::string_view path) override;
    bool IsReadOnly(std::string_view path) override;
    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override;
    Status Delete(std::string_view path) override;
    Status DeleteEvenReadOnly(std::string_view path) override {
        if (Exists(path)) SetReadOnly(path, false);
        return Delete(path);
    }
    Status Copy(std::string_view from, std::string_view to) override;
    Status Move(std::string_view from, std::string_view to) override;
    Status Replace(std::string_view from, std::string_view to) override;
    Status CreateFolder(std::string_view path) override;
    Status RemoveFolder(std::string_view path) override;
    Result<std::string> RealPath(std::string_view path) override;
    Result<std::string> ShortPath(std::string_view path) override;
    Result<std::string> TempFolder() override;
    // What LimitDisk leaves.
    Result<std::uint64_t> FreeSpace(std::string_view folder) override;
    char Separator() const override { return '\\'; }

  private:
    friend class MemoryFile;
    struct Place;

    Place Find(std::string_view path) const;
    std::uint64_t UsedBytes() const;
    Status Grow(MemoryNode& node, std::uint64_t size);
    void Touch(MemoryNode& node);

    unsigned m_codePage;
    std::shared_ptr<MemoryNode> m_root;
    std::optional<std::uint64_t> m_limit;
    std::chrono::system_clock::time_point m_time;
    int m_openCount = 0;
};

}  // namespace platform::testing
