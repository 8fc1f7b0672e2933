#include "eumapi/attachments.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "platform/os/code_page.h"
#include "platform/os/profile.h"
#include "text/ascii.h"
#include "text/path.h"

namespace eumapi {

namespace {

// Eudora writes it in every language.
constexpr std::string_view kMarker = "Attachment Converted:";
constexpr std::string_view kBlanks = " \t\r";
constexpr std::string_view kBlankLine = "\n\n";

std::string_view PathIn(std::string_view line) {
    line = text::TrimmedFront(line.substr(kMarker.size()), kBlanks);
    if (line.starts_with('"')) {
        line.remove_prefix(1);
        return line.substr(0, line.find('"'));
    }
    return text::TrimmedBack(line, kBlanks);
}

// One line at the end of a mail's text that names an attachment.
struct AttachmentLine {
    std::size_t start = 0;   // in the text
    std::string_view line;   // without its line end
    std::string_view path;   // as it stands there; empty if there is none
    bool isPresent = false;  // for the caller to fill: whether the file is handed out
};

// The lines are the sender's text: more than these, counted from the end, are text as any other.
constexpr std::size_t kMostAttachmentLines = 1000;

// Whether the reader finds each of the last lines, as many as files are handed out, by the blank
// line above it.
bool IsArranged(std::string_view text, const std::vector<AttachmentLine>& lines) {
    bool mustBePresent = false;
    for (const auto& line : lines) {
        if (mustBePresent && !line.isPresent) return false;
        if (!line.isPresent) continue;
        mustBePresent = true;
        if (!text.substr(0, line.start).ends_with(kBlankLine)) return false;
    }
    return true;
}

// The attachment lines with which a text ends: nothing but them and blank lines follows the first
// of them. The text has bare LF line ends and outlives the result.
std::vector<AttachmentLine> FindAttachmentLines(std::string_view text) {
    std::vector<AttachmentLine> lines;
    for (std::size_t end = text.size(); end > 0 && lines.size() < kMostAttachmentLines;) {
        // A line end belongs to the line before it.
        if (text[end - 1] == '\n') --end;
        const auto before = end == 0 ? text.npos : text.rfind('\n', end - 1);
        const std::size_t start = before == text.npos ? 0 : before + 1;
        const auto line = text.substr(start, end - start);
        if (line.starts_with(kMarker)) {
            lines.push_back({start, line, PathIn(line)});
        } else if (line.find_first_not_of(kBlanks) != line.npos) {
            break;
        }
        end = start;
    }
    std::reverse(lines.begin(), lines.end());
    return lines;
}

// The text as a reader expects it who takes off, from its end, one attachment line with a blank
// line above it for each file that he was given: the lines of files that are not there stand before
// the others, so that these alone go. What he is left with has no blank line that was not there. A
// text that is so already stays as it is, to the byte.
// The places of the lines that stay keep what stands before them: of n lines, the first n places.
std::string ArrangedText(std::string text, const std::vector<AttachmentLine>& lines) {
    if (IsArranged(text, lines)) return text;
    const std::size_t first = lines.front().start;
    const bool hasBlank = std::string_view(text).substr(0, first).ends_with(kBlankLine);
    std::size_t from = hasBlank ? first - kBlankLine.size() : first;
    std::string arranged = text.substr(0, from);
    auto place = lines.begin();
    for (const auto& line : lines) {
        if (line.isPresent) continue;
        arranged.append(text, from, place->start - from).append(line.line);
        from = place->start + place->line.size();
        ++place;
    }
    for (const auto& line : lines) {
        if (line.isPresent) arranged.append(kBlankLine).append(line.line);
    }
    return arranged + '\n';
}

constexpr std::uint64_t kLargestIni = 1 << 20;
// The lines of a mail name one folder, hardly ever two; each may cost a look at a large one.
constexpr std::size_t kMostFolders = 16;

// A mail must not make us talk to another machine.
bool IsOnDrive(std::string_view path) {
    if (path.size() < 4 || path[1] != ':' || (path[2] != '\\' && path[2] != '/')) return false;
    return text::IsLetter(path[0]);
}

// A key that is equal for all spellings of one name in the file system.
std::string Key(std::string_view name, unsigned codePage) {
    return std::string(text::TrimmedBack(platform::UpperCase(name, codePage), ". "));
}

// Finds the files that the attachment lines of one mail name. A line is the sender's text and leads
// nowhere but to what lies, all links followed, in a folder where Eudora keeps attachments: Attach
// in its own folder, and the one that Eudora.ini names.
class AttachmentSearch {
  public:
    AttachmentSearch(const platform::System& system, const std::string& eudoraFolder)
        : m_system(system) {
        AddRoot(eudoraFolder + "Attach");
        const auto ini = platform::ReadWhole(m_system.files, eudoraFolder + "Eudora.ini",
                                             kLargestIni, platform::Share::kReadWrite);
        if (!ini) return;
        const auto folder = platform::ProfileValue(*ini, "Settings", "AutoReceiveDirectory");
        if (folder && !folder->empty()) AddRoot(std::string(*folder));
    }

    // The file at that path if it lies in one of the folders, at any depth, else the one of that
    // name directly in them, for a Eudora that was moved. Empty if there is none, or if an earlier
    // line led to it. The cost grows with the number of calls and with that of files in the
    // folders, not with their product.
    std::string Find(std::string_view linePath) {
        const auto name = text::PlainNameIn(linePath, m_system.codePage);
        if (name.empty()) return {};
        std::string path;
        if (Folder* folder = FolderOf(linePath)) path = FindIn(*folder, name);
        for (auto root = m_roots.begin(); path.empty() && root != m_roots.end(); ++root) {
            path = FindIn(*root, name);
        }
        return path;
    }

  private:
    struct Folder {
        std::string path;  // ends in a separator; empty if attachments do not lie there
        // The names of its files that no line led to yet, once they were asked for.
        std::optional<std::multimap<std::string, std::string>> names;
    };

    void AddRoot(std::string path) {
        auto real = m_system.files.RealPath(path);
        const auto info = m_system.files.Stat(path);
        if (!real || !info || !info->isFolder) return;
        path = text::WithSeparator(std::move(path), m_system.codePage);
        if (!real->ends_with('/')) *real += '/';
        m_roots.push_back({std::move(path), std::nullopt});
        m_realRoots.push_back(*std::move(real));
    }

    bool LiesInRoot(const std::string& realPath) const {
        return std::ranges::any_of(m_realRoots,
                                   [&](const auto& root) { return realPath.starts_with(root); });
    }

    // Null if attachments do not lie in the folder of that path.
    Folder* FolderOf(std::string_view linePath) {
        if (!IsOnDrive(linePath)) return nullptr;
        std::string path(linePath.substr(0, text::LastSeparator(linePath, m_system.codePage) + 1));
        const auto known = m_folders.find(path);
        if (known != m_folders.end()) return known->second.path.empty() ? nullptr : &known->second;
        if (m_folders.size() == kMostFolders) return nullptr;
        auto& folder = m_folders[path];
        const auto real = m_system.files.RealPath(path);
        if (!real || !LiesInRoot(*real + '/')) return nullptr;
        folder.path = std::move(path);
        return &folder;
    }

    // A name that is not there just so costs the system a look at every name. It is asked once;
    // what else the lines name is looked for among the names that it told, each of which counts
    // once.
    std::string FindIn(Folder& folder, const std::string& name) {
        std::string path = folder.path + name;
        if (!folder.names) {
            const auto real = m_system.files.RealPath(path);
            const bool isSpeltSo =
                real && real->ends_with('/' + platform::ToUtf8(name, m_system.codePage));
            if (isSpeltSo && IsNew(*real)) return path;
            ListNames(folder);
        }
        const auto [first, last] = folder.names->equal_range(Key(name, m_system.codePage));
        if (first == last) return {};
        auto spelt =
            std::find_if(first, last, [&](const auto& entry) { return entry.second == name; });
        if (spelt == last) spelt = first;
        path = folder.path + spelt->second;
        folder.names->erase(spelt);
        const auto real = m_system.files.RealPath(path);
        return real && IsNew(*real) ? path : std::string();
    }

    void ListNames(Folder& folder) const {
        folder.names.emplace();
        for (const auto& entry : m_system.files.List(folder.path, "*").ValueOr({})) {
            if (!entry.isFolder)
                folder.names->emplace(Key(entry.name, m_system.codePage), entry.name);
        }
    }

    bool IsNew(const std::string& realPath) {
        return LiesInRoot(realPath) && m_found.insert(realPath).second;
    }

    platform::System m_system;
    std::vector<Folder> m_roots;
    std::vector<std::string> m_realRoots;
    std::map<std::string, Folder> m_folders;  // by the text of the lines
    std::set<std::string> m_found;            // real paths
};

}  // namespace

Code CopyAttachments(const platform::System& system, const std::string& eudoraFolder,
                     std::string& note, AttachmentCopies& copies) {
    auto lines = FindAttachmentLines(note);
    if (lines.empty()) return mapi::kSuccess;
    AttachmentSearch search(system, eudoraFolder);
    for (auto& line : lines) {
        const std::string source = search.Find(line.path);
        if (source.empty()) continue;
        auto name = text::PlainNameIn(source, system.codePage);
        const Code code = copies.Add(source, std::move(name), line.isPresent);
        if (code != mapi::kSuccess) return code;
    }
    note = ArrangedText(note, lines);
    return mapi::kSuccess;
}

}  // namespace eumapi
