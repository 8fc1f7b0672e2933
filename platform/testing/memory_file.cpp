#include "platform/testing/memory_file.h"

namespace platform::testing {

MemoryFile::MemoryFile(MemoryFiles& files, std::shared_ptr<MemoryNode> node, std::string path,
                       MemoryAccess access)
    : m_files(files), m_node(std::move(node)), m_path(std::move(path)), m_access(access) {
    m_node->opens.push_back(m_access);
    ++m_files.m_openCount;
}

MemoryFile::~MemoryFile() {
    if (m_node) (void)Close();
}

Result<std::size_t> MemoryFile::Read(std::span<char> buffer) {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    const std::string& content = m_node->content;
    if (m_position >= content.size()) return std::size_t{0};
    const auto start = static_cast<std::size_t>(m_position);
    const std::size_t count = std::min(buffer.size(), content.size() - start);
    if (m_position + count > m_node->badFrom) return Failure{ErrorCode::kIo, m_path};
    content.copy(buffer.data(), count, start);
    m_position += count;
    return count;
}

Status MemoryFile::Write(std::string_view bytes) {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    if (!m_access.write) return Failure{ErrorCode::kAccessDenied, m_path};
    if (bytes.empty()) return {};
    std::string& content = m_node->content;
    const auto end = m_position + bytes.size();
    Status status = m_files.Grow(*m_node, std::max<std::uint64_t>(end, content.size()));
    const auto start = static_cast<std::size_t>(m_position);
    if (start < content.size()) {
        const auto count = std::min(bytes.size(), content.size() - start);
        content.replace(start, count, bytes.substr(0, count));
        m_position += count;
    }
    m_files.Touch(*m_node);
    if (!status) return Failure{status.Error().code, m_path};
    return {};
}

Result<std::uint64_t> MemoryFile::Seek(std::int64_t offset, SeekFrom from) {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    std::int64_t base = 0;
    if (from == SeekFrom::kCurrent) base = static_cast<std::int64_t>(m_position);
    if (from == SeekFrom::kEnd) base = static_cast<std::int64_t>(m_node->content.size());
    if (offset < -base) return Failure{ErrorCode::kInvalidArgument, m_path};
    m_position = static_cast<std::uint64_t>(base + offset);
    return m_position;
}

Result<std::uint64_t> MemoryFile::Size() {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    return std::uint64_t{m_node->content.size()};
}

Status MemoryFile::Truncate(std::uint64_t size) {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    if (!m_access.write) return Failure{ErrorCode::kAccessDenied, m_path};
    if (size > m_node->content.size()) {
        if (auto status = m_files.Grow(*m_node, size); !status) return status;
    } else {
        m_node->content.resize(static_cast<std::size_t>(size));
    }
    m_files.Touch(*m_node);
    return {};
}

Status MemoryFile::Flush() {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    m_node->durable = m_node->content;
    return {};
}

Status MemoryFile::Close() {
    if (!m_node) return Failure{ErrorCode::kInvalidArgument, m_path};
    auto& opens = m_node->opens;
    const auto mine = std::find_if(opens.begin(), opens.end(), [&](const MemoryAccess& open) {
        return open.write == m_access.write && open.denyRead == m_access.denyRead &&
               open.denyWrite == m_access.denyWrite;
    });
    opens.erase(mine);
    m_node.reset();
    --m_files.m_openCount;
    return {};
}

}  // namespace platform::testing
