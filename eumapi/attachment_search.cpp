#include "eumapi/attachment_search.h"

#include <algorithm>

#include "platform/os/code_page.h"
#include "platform/os/profile.h"
#include "text/ascii.h"
#include "text/path.h"

namespace eumapi {

namespace {

constexpr std::uint64_t kLargestIni = 1 << 20;
// The lines of a mail name one folder, hardly ever two; each may cost a look at a large one.
constexpr std::size_t kMostFolders = 16;

// A mail must not make us talk to another machine.
bool IsOnDrive(std::string_view path) {
    if (path.size() < 4 || path[1] != ':' || (path[2] != '\\' && path[2] != '/')) return false;
    return text::IsLetter(path[0]);
}

// The same for all names that the system takes for one.
std::string Key(std::string_view name, unsigned codePage) {
    return std::string(text::TrimmedBack(platform::UpperCase(name, codePage), ". "));
}

}  // namespace

AttachmentSearch::AttachmentSearch(const platform::System& system, const std::string& eudoraFolder)
    : m_system(system), m_codePage(system.codePage) {
    AddRoot(eudoraFolder + "Attach");
    const auto ini = platform::ReadWhole(m_system.files, eudoraFolder + "Eudora.ini", kLargestIni,
                                         platform::Share::kReadWrite);
    if (!ini) return;
    const auto folder = platform::ProfileValue(*ini, "Settings", "AutoReceiveDirectory");
    if (folder && !folder->empty()) AddRoot(std::string(*folder));
}

void AttachmentSearch::AddRoot(std::string path) {
    auto real = m_system.files.RealPath(path);
    const auto info = m_system.files.Stat(path);
    if (!real || !info || !info->isFolder) return;
    path = text::WithSeparator(std::move(path), m_codePage);
    if (!real->ends_with('/')) *real += '/';
    m_roots.push_back({std::move(path), std::nullopt});
    m_realRoots.push_back(*std::move(real));
}

bool AttachmentSearch::LiesInRoot(const std::string& realPath) const {
    return std::any_of(m_realRoots.begin(), m_realRoots.end(),
                       [&](const auto& root) { return realPath.starts_with(root); });
}

// Null if attachments do not lie in the folder of that path.
AttachmentSearch::Folder* AttachmentSearch::FolderOf(std::string_view linePath) {
    if (!IsOnDrive(linePath)) return nullptr;
    std::string path(linePath.substr(0, text::LastSeparator(linePath, m_codePage) + 1));
    const auto known = m_folders.find(path);
    if (known != m_folders.end()) return known->second.path.empty() ? nullptr : &known->second;
    if (m_folders.size() == kMostFolders) return nullptr;
    auto& folder = m_folders[path];
    const auto real = m_system.files.RealPath(path);
    if (!real || !LiesInRoot(*real + '/')) return nullptr;
    folder.path = std::move(path);
    return &folder;
}

bool AttachmentSearch::IsNew(const std::string& realPath) {
    return LiesInRoot(realPath) && m_found.insert(realPath).second;
}

// A name that is not there just so costs the system a look at every name. It is asked once; what
// else the lines name is looked for among the names that it told, each of which counts once.
std::string AttachmentSearch::FindIn(Folder& folder, const std::string& name) {
    std::string path = folder.path + name;
    if (!folder.names) {
        const auto real = m_system.files.RealPath(path);
        const bool isSpeltSo = real && real->ends_with('/' + platform::ToUtf8(name, m_codePage));
        if (isSpeltSo && IsNew(*real)) return path;
        ListNames(folder);
    }
    const auto [first, last] = folder.names->equal_range(Key(name, m_codePage));
    if (first == last) return {};
    auto spelt = std::find_if(first, last, [&](const auto& entry) { return entry.second == name; });
    if (spelt == last) spelt = first;
    path = folder.path + spelt->second;
    folder.names->erase(spelt);
    const auto real = m_system.files.RealPath(path);
    return real && IsNew(*real) ? path : std::string();
}

void AttachmentSearch::ListNames(Folder& folder) const {
    folder.names.emplace();
    const auto entries = m_system.files.List(folder.path, "*");
    if (!entries) return;
    for (const auto& entry : *entries) {
        if (!entry.isFolder) folder.names->emplace(Key(entry.name, m_codePage), entry.name);
    }
}

std::string AttachmentSearch::Find(std::string_view linePath) {
    const auto name = text::PlainNameIn(linePath, m_codePage);
    if (name.empty()) return {};
    std::string path;
    if (Folder* folder = FolderOf(linePath)) path = FindIn(*folder, name);
    for (auto root = m_roots.begin(); path.empty() && root != m_roots.end(); ++root) {
        path = FindIn(*root, name);
    }
    return path;
}

}  // namespace eumapi
