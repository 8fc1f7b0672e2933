#include "host/eudora/mailboxes.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "mailbox/descmap.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/path.h"

namespace host::eudora {

namespace {

using mailbox::DescmapEntry;
using mailbox::DescmapType;

constexpr std::uint64_t kLargestList = 16u << 20;
constexpr std::size_t kMostNotes = 5;  // of one kind on one list
constexpr std::size_t kDeepest = 32;   // folders in folders
constexpr std::string_view kText = ".mbx", kTable = ".toc", kFolder = ".fol";

bool EndsWithNoCase(std::string_view text, std::string_view ending) {
    return text.size() > ending.size() &&
           text::EqualNoCase(text.substr(text.size() - ending.size()), ending);
}

// What a folder holds, found without regard to case.
class Names {
  public:
    explicit Names(std::vector<platform::FolderEntry> entries) {
        std::ranges::sort(entries, {}, &platform::FolderEntry::name);
        for (auto& entry : entries) {
            std::string lowered = text::Lowered(entry.name);
            m_byName.emplace(std::move(lowered), std::move(entry));
        }
    }
    // Null if there is none; of names that differ in case alone the one that is spelt so.
    const platform::FolderEntry* Find(const std::string& name) const {
        const auto [begin, end] = m_byName.equal_range(text::Lowered(name));
        const auto exact =
            std::find_if(begin, end, [&](const auto& one) { return one.second.name == name; });
        if (exact != end) return &exact->second;
        return begin != end ? &begin->second : nullptr;
    }
    const std::multimap<std::string, platform::FolderEntry>& All() const { return m_byName; }

  private:
    std::multimap<std::string, platform::FolderEntry> m_byName;
};

// A folder on the way: its path, and what stands in front of its mailboxes' names and places.
struct Folder {
    std::string path, place;
    std::vector<std::string> names;
};

std::vector<std::string> With(std::vector<std::string> names, const std::string& name) {
    names.push_back(name);
    return names;
}

class Search {
  public:
    Search(platform::Files& files, std::string root, unsigned codePage, bool followLinks)
        : m_files(files),
          m_root(std::move(root)),
          m_codePage(codePage),
          m_followLinks(followLinks) {}

    MailboxTree Run() {
        Visit({m_root, "", {}});
        return std::move(m_tree);
    }

  private:
    void Note(const std::string& path, const std::string& what) {
        m_tree.notes.push_back(path + ": " + what);
    }
    std::string In(const Folder& folder, const std::string& name) const {
        return base::PathIn(m_files, folder.path, name);
    }
    // False, with a note, for what is left out as it leads elsewhere.
    bool IsInside(const std::string& path) {
        if (m_followLinks || platform::LiesIn(m_files, path, m_root)) return true;
        Note(path, "leads out of the Eudora folder; left out without --follow-links");
        return false;
    }

    void Visit(const Folder& folder) {
        const auto real = m_files.RealPath(folder.path);
        if (real && !m_visited.insert(*real).second) {
            return Note(folder.path, "is a folder that came before; left out");
        }
        if (folder.names.size() > kDeepest) return Note(folder.path, "lies too deep; left out");
        auto entries = m_files.List(folder.path, "*");
        if (!entries) return Note(folder.path, "cannot be read: " + entries.Error().Message());
        const Names names(*std::move(entries));
        std::set<std::string> taken;  // names as they are spelt
        const auto* const list = names.Find(mailbox::kDescmapName);
        const bool hasList = list != nullptr && TakeListed(folder, names, list->name, taken);
        TakeUnlisted(folder, names, hasList, taken);
    }

    // False if the list cannot be read.
    bool TakeListed(const Folder& folder, const Names& names, const std::string& listName,
                    std::set<std::string>& taken) {
        const std::string path = In(folder, listName);
        const auto text = IsInside(path) ? platform::ReadWhole(m_files, path, kLargestList)
                                         : platform::Failure{platform::ErrorCode::kNotFound, path};
        if (!text && text.Error().code != platform::ErrorCode::kNotFound) {
            Note(path, "cannot be read: " + text.Error().Message());
        }
        if (!text) return false;
        const auto map = mailbox::ParseDescmap(*text);
        if (map.strangeLines > 0) {
            Note(path, base::Counted(map.strangeLines, "line") + " without a mailbox");
        }
        std::size_t passedOver = 0;
        for (const DescmapEntry& entry : map.entries) {
            const std::string why = Take(folder, names, entry, taken);
            if (why.empty() || ++passedOver > kMostNotes) continue;
            Note(path, platform::ToUtf8(entry.file, m_codePage) + ' ' + why);
        }
        if (passedOver > kMostNotes) {
            Note(path, std::to_string(passedOver - kMostNotes) + " more like these");
        }
        return true;
    }

    // Takes the file or folder of an entry; else gives why it is passed over.
    std::string Take(const Folder& folder, const Names& names, const DescmapEntry& entry,
                     std::set<std::string>& taken) {
        if (!text::IsPlainFileName(entry.file, m_codePage)) {
            return "is no name of a file in that folder; left out";
        }
        const std::string file = platform::ToUtf8(entry.file, m_codePage),
                          name = platform::ToUtf8(entry.name, m_codePage);
        const auto* const found = names.Find(file);
        const bool isFolder = entry.type == DescmapType::kFolder;
        if (found == nullptr) return isFolder ? "is missing" : TakeTable(folder, names, name, file);
        if (found->isFolder != isFolder) {
            return isFolder ? "is a file, not a folder; left out" : "is a folder; left out";
        }
        if (!taken.insert(found->name).second) return "is named twice; left out";
        isFolder ? Enter(folder, name, found->name) : Add(folder, names, name, found->name, false);
        return {};
    }

    // A mailbox whose text is missing is told as one if its table is there.
    std::string TakeTable(const Folder& folder, const Names& names, const std::string& name,
                          const std::string& file) {
        if (names.Find(TableOf(file)) == nullptr) return "is missing";
        Add(folder, names, name, file, false);
        return {};
    }

    void TakeUnlisted(const Folder& folder, const Names& names, bool hasList,
                      const std::set<std::string>& taken) {
        const auto order = [&](bool wantsOwn) {
            for (const auto& [lowered, entry] : names.All()) {
                const bool isOwn =
                    lowered == "in.mbx" || lowered == "out.mbx" || lowered == "trash.mbx";
                const auto ending = entry.isFolder ? kFolder : kText;
                if (isOwn != wantsOwn || taken.contains(entry.name)) continue;
                if (!EndsWithNoCase(entry.name, ending)) continue;
                const std::string name = entry.name.substr(0, entry.name.size() - ending.size());
                if (entry.isFolder && hasList) {
                    Note(In(folder, entry.name), "is a folder that no list of mailboxes names");
                }
                entry.isFolder ? Enter(folder, name, entry.name)
                               : Add(folder, names, name, entry.name, hasList);
            }
        };
        order(true);
        order(false);
    }

    void Enter(const Folder& folder, const std::string& name, const std::string& spelt) {
        const std::string path = In(folder, spelt);
        if (!IsInside(path)) return;
        Visit({path, folder.place + spelt + '/', With(folder.names, name)});
    }

    static std::string TableOf(const std::string& file) {
        const std::size_t dot = file.rfind('.');
        return file.substr(0, dot) + std::string(kTable);
    }

    void Add(const Folder& folder, const Names& names, const std::string& name,
             const std::string& spelt, bool isUnlisted) {
        const auto* const table = names.Find(TableOf(spelt));
        Mailbox mailbox{With(folder.names, name), folder.place + spelt, In(folder, spelt),
                        In(folder, table != nullptr ? table->name : TableOf(spelt)), isUnlisted};
        for (const std::string& path : {mailbox.text, mailbox.table}) {
            if (!m_files.IsFree(path) && !IsInside(path)) return;
        }
        m_tree.mailboxes.push_back(std::move(mailbox));
    }

    platform::Files& m_files;
    const std::string m_root;
    const unsigned m_codePage;
    const bool m_followLinks;
    std::set<std::string> m_visited;  // real paths of folders
    MailboxTree m_tree;
};

}  // namespace

std::string Mailbox::Name() const {
    return text::Joined(names, "/");
}

bool Mailbox::IsInBox() const {
    return text::EqualNoCase(place, "In.mbx");
}

const Mailbox* FindByName(const MailboxTree& tree, const std::string& name) {
    auto found = std::ranges::find(tree.mailboxes, name, &Mailbox::Name);
    if (found != tree.mailboxes.end()) return &*found;
    found = std::ranges::find_if(tree.mailboxes, [&](const Mailbox& mailbox) {
        return text::EqualNoCase(mailbox.Name(), name) || text::EqualNoCase(mailbox.place, name);
    });
    return found != tree.mailboxes.end() ? &*found : nullptr;
}

base::Failure NoSuchMailbox(const Setup& setup, const std::string& name) {
    return base::Refused("there is no mailbox " + name + " in " + setup.eudoraShown,
                         "kvsync mailboxes shows all");
}

MailboxTree FindMailboxes(platform::Files& files, const std::string& folder, unsigned codePage,
                          bool followLinks) {
    return Search(files, folder, codePage, followLinks).Run();
}

}  // namespace host::eudora
