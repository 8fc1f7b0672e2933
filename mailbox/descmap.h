#pragma once

#include <string>
#include <string_view>
#include <vector>

// The list of mailboxes that Eudora keeps in each folder of them, descmap.pce
// (docs/formats/folder.md).
namespace mailbox {

inline constexpr const char* kDescmapName = "descmap.pce";

// What an entry is. System mailboxes are Eudora's own, such as In, Out and Trash.
enum class DescmapType : char { kSystem = 'S', kMailbox = 'M', kFolder = 'F' };

// An entry; texts are bytes in the system code page.
struct DescmapEntry {
    std::string name;  // as Eudora shows it
    std::string file;  // the .mbx file or the .fol folder, as it stands there: any text
    DescmapType type = DescmapType::kMailbox;
};

struct Descmap {
    std::vector<DescmapEntry> entries;
    std::size_t strangeLines = 0;  // that are none, empty ones aside
};

// Reads a list. A name may hold commas: the last three fields of a line are file, type and mark.
Descmap ParseDescmap(std::string_view text);

}  // namespace mailbox
