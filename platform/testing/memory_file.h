#pragma once

#include <memory>

#include "platform/testing/memory_files.h"
#include "platform/testing/memory_node.h"

namespace platform::testing {

class MemoryFile : public File {
  public:
    MemoryFile(MemoryFiles& files, std::shared_ptr<MemoryNode> node, std::string path,
               MemoryAccess access);
    ~MemoryFile() override;

    Result<std::size_t> Read(std::span<char> buffer) override;
    Status Write(std::string_view bytes) override;
    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override;
    Result<std::uint64_t> Size() override;
    Status Truncate(std::uint64_t size) override;
    Status Flush() override;
    Status Close() override;

  private:
    MemoryFiles& m_files;
    std::shared_ptr<MemoryNode> m_node;  // null when closed
    std::string m_path;
    MemoryAccess m_access;
    std::uint64_t m_position = 0;
};

}  // namespace platform::testing
