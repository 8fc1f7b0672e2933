#include "platform/testing/memory_files.h"

#include <algorithm>

#include "platform/os/code_page.h"
#include "platform/os/name_pattern.h"
#include "text/ascii.h"
#include "text/path.h"

namespace platform::testing {

// What an open file does, and what it leaves to others.
struct MemoryAccess {
    bool write = false;
    bool denyRead = false;
    bool denyWrite = false;
    bool operator==(const MemoryAccess&) const = default;

    bool Excludes(const MemoryAccess& other) const {
        return denyRead || other.denyRead || (denyWrite && other.write) ||
               (other.denyWrite && write);
    }
};

struct MemoryNode {
    std::string name, shortName;
    bool isFolder = false;
    bool isReadOnly = false;
    std::string content, durable;
    std::uint64_t badFrom = ~std::uint64_t{0};  // what lies behind cannot be read
    std::chrono::system_clock::time_point modified;
    std::vector<std::shared_ptr<MemoryNode>> children;
    std::vector<MemoryAccess> opens;

    bool IsFree(const MemoryAccess& access) const {
        return std::none_of(opens.begin(), opens.end(),
                            [&](const MemoryAccess& open) { return open.Excludes(access); });
    }
};

namespace {

using NodePointer = std::shared_ptr<MemoryNode>;

// The names in a path, with its drive as the first of them.
std::vector<std::string> Components(std::string_view path, unsigned codePage) {
    const bool hasDrive = path.size() >= 2 && path[1] == ':';
    auto components = text::NamesIn(hasDrive ? path.substr(2) : path, codePage);
    components.emplace(components.begin(), hasDrive ? path.substr(0, 2) : "C:");
    return components;
}

NodePointer Child(const MemoryNode& folder, std::string_view name) {
    for (const auto& child : folder.children) {
        if (text::EqualNoCase(child->name, name) ||
            (!child->shortName.empty() && text::EqualNoCase(child->shortName, name))) {
            return child;
        }
    }
    return nullptr;
}

NodePointer AddChild(MemoryNode& folder, std::string_view name, bool isFolder) {
    auto node = std::make_shared<MemoryNode>();
    node->name = name;
    node->isFolder = isFolder;
    folder.children.push_back(node);
    return node;
}

template <class Visit>
void ForEachFile(const MemoryNode& folder, const std::string& path, const Visit& visit) {
    for (const auto& child : folder.children) {
        const std::string childPath = path.empty() ? child->name : path + "\\" + child->name;
        if (child->isFolder) {
            ForEachFile(*child, childPath, visit);
        } else {
            visit(*child, childPath);
        }
    }
}

Failure Fail(ErrorCode code, std::string_view path) {
    return {code, std::string(path)};
}

}  // namespace

// Where a path leads: its folder (null if there is none), the last name, and what is there.
struct MemoryFiles::Place {
    NodePointer folder, node;
    std::string name;

    bool IsUsableName() const { return std::ranges::none_of(name, text::IsForbiddenInNames); }
};

MemoryFiles::MemoryFiles(unsigned codePage)
    : m_codePage(codePage), m_root(std::make_shared<MemoryNode>()) {
    m_root->isFolder = true;
    AddChild(*m_root, "C:", true);
    m_time = std::chrono::system_clock::from_time_t(1'000'000'000);
}

MemoryFiles::~MemoryFiles() = default;

MemoryFiles::Place MemoryFiles::Find(std::string_view path) const {
    if (path.empty()) return {};
    const auto components = Components(path, m_codePage);
    Place place{m_root, nullptr, components.front()};
    place.node = Child(*m_root, components.front());
    for (std::size_t i = 1; i < components.size(); ++i) {
        place.folder = place.node && place.node->isFolder ? place.node : nullptr;
        place.name = components[i];
        place.node = place.folder ? Child(*place.folder, place.name) : nullptr;
    }
    return place;
}

void MemoryFiles::MakeFolders(std::string_view path) {
    NodePointer folder = m_root;
    for (const auto& name : Components(path, m_codePage)) {
        NodePointer child = Child(*folder, name);
        folder = child ? child : AddChild(*folder, name, true);
    }
}

void MemoryFiles::Put(std::string_view path, std::string_view content) {
    MakeFolders(path.substr(0, text::LastSeparator(path, m_codePage) + 1));
    Place place = Find(path);
    if (!place.node) place.node = AddChild(*place.folder, place.name, false);
    place.node->content = place.node->durable = content;
    Touch(*place.node);
}

std::optional<std::string> MemoryFiles::Get(std::string_view path) const {
    const Place place = Find(path);
    if (!place.node || place.node->isFolder) return std::nullopt;
    return place.node->content;
}

void MemoryFiles::SetReadOnly(std::string_view path, bool readOnly) {
    Find(path).node->isReadOnly = readOnly;
}

void MemoryFiles::SetModified(std::string_view path, std::chrono::system_clock::time_point time) {
    Find(path).node->modified = time;
}

void MemoryFiles::SetBadFrom(std::string_view path, std::uint64_t place) {
    Find(path).node->badFrom = place;
}

void MemoryFiles::SetShortName(std::string_view path, std::string_view name) {
    Find(path).node->shortName = name;
}

void MemoryFiles::Crash() {
    const auto copyTree = [](const auto& self, const MemoryNode& node) -> NodePointer {
        auto copy = std::make_shared<MemoryNode>(node);
        copy->content = copy->durable;
        copy->opens.clear();
        for (auto& child : copy->children) child = self(self, *child);
        return copy;
    };
    m_root = copyTree(copyTree, *m_root);
}

std::vector<std::string> MemoryFiles::AllFiles() const {
    std::vector<std::string> paths;
    ForEachFile(*m_root, "",
                [&](const MemoryNode&, const std::string& path) { paths.push_back(path); });
    return paths;
}

std::uint64_t MemoryFiles::UsedBytes() const {
    std::uint64_t bytes = 0;
    ForEachFile(*m_root, "",
                [&](const MemoryNode& file, const std::string&) { bytes += file.content.size(); });
    return bytes;
}

// Brings a file to `size` bytes, as far as the disk reaches.
Status MemoryFiles::Grow(MemoryNode& node, std::uint64_t size) {
    std::uint64_t possible = size;
    if (m_limit && size > node.content.size()) {
        const std::uint64_t used = UsedBytes();
        const std::uint64_t room = *m_limit > used ? *m_limit - used : 0;
        possible = std::min<std::uint64_t>(size, node.content.size() + room);
    }
    node.content.resize(static_cast<std::size_t>(possible));
    if (possible < size) return Failure{ErrorCode::kNoSpace, node.name};
    return {};
}

void MemoryFiles::Touch(MemoryNode& node) {
    m_time += std::chrono::seconds(1);
    node.modified = m_time;
}

class MemoryFile : public File {
  public:
    MemoryFile(MemoryFiles& files, std::shared_ptr<MemoryNode> node, std::string path,
               MemoryAccess access)
        : m_files(files), m_node(std::move(node)), m_path(std::move(path)), m_access(access) {
        m_node->opens.push_back(m_access);
        ++m_files.m_openCount;
    }

    ~MemoryFile() override {
        if (m_node) (void)Close();
    }

    Result<std::size_t> Read(std::span<char> buffer) override {
        const std::string& content = m_node->content;
        if (m_position >= content.size()) return std::size_t{0};
        const auto start = static_cast<std::size_t>(m_position);
        const std::size_t count = std::min(buffer.size(), content.size() - start);
        if (m_position + count > m_node->badFrom) return Failure{ErrorCode::kIo, m_path};
        content.copy(buffer.data(), count, start);
        m_position += count;
        return count;
    }

    Status Write(std::string_view bytes) override {
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

    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
        std::int64_t base = 0;
        if (from == SeekFrom::kCurrent) base = static_cast<std::int64_t>(m_position);
        if (from == SeekFrom::kEnd) base = static_cast<std::int64_t>(m_node->content.size());
        if (offset < -base) return Failure{ErrorCode::kInvalidArgument, m_path};
        m_position = static_cast<std::uint64_t>(base + offset);
        return m_position;
    }

    Result<std::uint64_t> Size() override { return std::uint64_t{m_node->content.size()}; }

    Status Truncate(std::uint64_t size) override {
        if (!m_access.write) return Failure{ErrorCode::kAccessDenied, m_path};
        if (size > m_node->content.size()) {
            if (auto status = m_files.Grow(*m_node, size); !status) return status;
        } else {
            m_node->content.resize(static_cast<std::size_t>(size));
        }
        m_files.Touch(*m_node);
        return {};
    }

    Status Flush() override {
        m_node->durable = m_node->content;
        return {};
    }

    Status Close() override {
        auto& opens = m_node->opens;
        opens.erase(std::ranges::find(opens, m_access));
        m_node.reset();
        --m_files.m_openCount;
        return {};
    }

  private:
    MemoryFiles& m_files;
    NodePointer m_node;  // null when closed
    std::string m_path;
    MemoryAccess m_access;
    std::uint64_t m_position = 0;
};

Result<std::unique_ptr<File>> MemoryFiles::Open(std::string_view path, OpenMode mode, Share share) {
    Place place = Find(path);
    if (!place.folder) return Fail(ErrorCode::kNotFound, path);
    if (!place.IsUsableName() && !place.node) return Fail(ErrorCode::kInvalidArgument, path);
    const bool mayCreate = mode != OpenMode::kRead && mode != OpenMode::kReadWrite;
    if (!place.node && !mayCreate) return Fail(ErrorCode::kNotFound, path);
    if (place.node && mode == OpenMode::kCreateNew) return Fail(ErrorCode::kAlreadyExists, path);
    if (place.node && place.node->isFolder) return Fail(ErrorCode::kNotRegular, path);
    const MemoryAccess access{mode != OpenMode::kRead, share == Share::kNone,
                              share != Share::kReadWrite};
    const bool isNew = !place.node;
    if (isNew) {
        place.node = std::make_shared<MemoryNode>();
        place.node->name = place.name;
        Touch(*place.node);
    } else {
        if (access.write && place.node->isReadOnly) return Fail(ErrorCode::kAccessDenied, path);
        if (!place.node->IsFree(access)) return Fail(ErrorCode::kSharingViolation, path);
    }
    auto file = std::make_unique<MemoryFile>(*this, place.node, std::string(path), access);
    // Last: a file whose opening runs out of memory was never made.
    if (isNew) place.folder->children.push_back(place.node);
    return std::unique_ptr<File>(std::move(file));
}

Result<FileInfo> MemoryFiles::Stat(std::string_view path) {
    const Place place = Find(path);
    if (!place.node) return Fail(ErrorCode::kNotFound, path);
    return FileInfo{place.node->content.size(), place.node->modified, place.node->isFolder,
                    place.node->content.size()};
}

bool MemoryFiles::IsReadOnly(std::string_view path) {
    const Place place = Find(path);
    return place.node && place.node->isReadOnly;
}

Result<std::uint64_t> MemoryFiles::FreeSpace(std::string_view folder) {
    if (!m_limit) return Files::FreeSpace(folder);
    return *m_limit - std::min(*m_limit, UsedBytes());
}

Result<std::vector<FolderEntry>> MemoryFiles::List(std::string_view folder,
                                                   std::string_view pattern) {
    const Place place = Find(folder);
    if (!place.node || !place.node->isFolder) return Fail(ErrorCode::kNotFound, folder);
    const auto isSame = [](char a, char b) { return text::Lower(a) == text::Lower(b); };
    std::vector<FolderEntry> entries;
    for (const auto& child : place.node->children) {
        if (MatchesPattern(std::string_view(child->name), pattern, isSame)) {
            entries.push_back({child->name, child->isFolder});
        }
    }
    return entries;
}

Status MemoryFiles::Delete(std::string_view path) {
    const Place place = Find(path);
    if (!place.node) return Fail(ErrorCode::kNotFound, path);
    if (place.node->isFolder || place.node->isReadOnly) {
        return Fail(ErrorCode::kAccessDenied, path);
    }
    if (!place.node->opens.empty()) return Fail(ErrorCode::kSharingViolation, path);
    std::erase(place.folder->children, place.node);
    return {};
}

Status MemoryFiles::Copy(std::string_view from, std::string_view to) {
    auto source = Open(from, OpenMode::kRead, Share::kReadWrite);
    if (!source) return source.Error();
    auto target = Open(to, OpenMode::kCreateNew, Share::kNone);
    if (!target) return target.Error();
    auto written = (*target)->Write(Find(from).node->content);
    const Place made = Find(to);
    made.node->isReadOnly = Find(from).node->isReadOnly;
    if (!written) std::erase(made.folder->children, made.node);
    return written;
}

Status MemoryFiles::Move(std::string_view from, std::string_view to) {
    const Place source = Find(from), target = Find(to);
    if (!source.node) return Fail(ErrorCode::kNotFound, from);
    if (!target.folder) return Fail(ErrorCode::kNotFound, to);
    if (target.node && target.node != source.node) return Fail(ErrorCode::kAlreadyExists, to);
    if (!target.IsUsableName()) return Fail(ErrorCode::kInvalidArgument, to);
    if (!source.node->opens.empty()) return Fail(ErrorCode::kSharingViolation, from);
    std::erase(source.folder->children, source.node);
    source.node->name = target.name;
    target.folder->children.push_back(source.node);
    return {};
}

Status MemoryFiles::Replace(std::string_view from, std::string_view to) {
    const Place source = Find(from), target = Find(to);
    if (!source.node || source.node->isFolder) return Fail(ErrorCode::kNotFound, from);
    if (!target.node) return Fail(ErrorCode::kNotFound, to);
    if (target.node->isFolder) return Fail(ErrorCode::kNotRegular, to);
    if (target.node->isReadOnly) return Fail(ErrorCode::kAccessDenied, to);
    if (!target.node->opens.empty()) return Fail(ErrorCode::kSharingViolation, to);
    if (!source.node->opens.empty()) return Fail(ErrorCode::kSharingViolation, from);
    std::erase(source.folder->children, source.node);
    target.node->content = source.node->content;
    target.node->durable = source.node->durable;
    target.node->modified = source.node->modified;
    return {};
}

Status MemoryFiles::CreateFolder(std::string_view path) {
    const Place place = Find(path);
    if (!place.folder) return Fail(ErrorCode::kNotFound, path);
    if (place.node) return Fail(ErrorCode::kAlreadyExists, path);
    if (!place.IsUsableName()) return Fail(ErrorCode::kInvalidArgument, path);
    AddChild(*place.folder, place.name, true);
    return {};
}

Status MemoryFiles::RemoveFolder(std::string_view path) {
    const Place place = Find(path);
    if (!place.node || !place.node->isFolder) return Fail(ErrorCode::kNotFound, path);
    if (!place.node->children.empty() || place.folder == m_root) {
        return Fail(ErrorCode::kAccessDenied, path);
    }
    std::erase(place.folder->children, place.node);
    return {};
}

Result<std::string> MemoryFiles::RealPath(std::string_view path) {
    const auto components = Components(path, m_codePage);
    std::string real;
    NodePointer node = m_root;
    for (const auto& name : components) {
        node = node->isFolder ? Child(*node, name) : nullptr;
        if (!node) return Fail(ErrorCode::kNotFound, path);
        real += (real.empty() ? "" : "/") + ToUtf8(node->name, m_codePage);
    }
    return real;
}

Result<std::string> MemoryFiles::ShortPath(std::string_view path) {
    const Place place = Find(path);
    if (!place.node) return Fail(ErrorCode::kNotFound, path);
    if (place.node->shortName.empty()) return std::string(path);
    const auto folder = path.substr(0, text::LastSeparator(path, m_codePage) + 1);
    return std::string(folder) + place.node->shortName;
}

Result<std::string> MemoryFiles::TempFolder() {
    MakeFolders("C:\\temp");
    return std::string("C:\\temp\\");
}

}  // namespace platform::testing
