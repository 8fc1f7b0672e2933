#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/system.h"

namespace eumapi {

// Finds the files that the attachment lines of one mail name. A line is the sender's text and leads
// nowhere but to what lies, all links followed, in a folder where Eudora keeps attachments: Attach
// in its own folder, and the one that Eudora.ini names.
class AttachmentSearch {
  public:
    AttachmentSearch(const platform::System& system, const std::string& eudoraFolder);

    // The file at that path if it lies in one of the folders, at any depth, else the one of that
    // name directly in them, for a Eudora that was moved. Empty if there is none, or if an earlier
    // line led to it. The cost grows with the number of calls and with that of files in the
    // folders, not with their product.
    std::string Find(std::string_view linePath);

  private:
    struct Folder {
        std::string path;  // ends in a separator; empty if attachments do not lie there
        // The names of its files that no line led to yet, once they were asked for.
        std::optional<std::multimap<std::string, std::string>> names;
    };

    void AddRoot(std::string path);
    bool LiesInRoot(const std::string& realPath) const;
    Folder* FolderOf(std::string_view linePath);
    std::string FindIn(Folder& folder, const std::string& name);
    void ListNames(Folder& folder) const;
    bool IsNew(const std::string& realPath);

    platform::System m_system;
    unsigned m_codePage;
    std::vector<Folder> m_roots;
    std::vector<std::string> m_realRoots;
    std::map<std::string, Folder> m_folders;  // by the text of the lines
    std::set<std::string> m_found;            // real paths
};

}  // namespace eumapi
