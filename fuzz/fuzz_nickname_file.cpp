#include "addressbook/record_map.h"
#include "fuzz/fuzz.h"

using addressbook::RecordMap;

namespace {

void Load(RecordMap& map, std::string_view text) {
    auto block = platform::AllocateBlock(text.size());
    text.copy(block.get(), text.size());
    map.Load({std::move(block), text.size()});
}

std::string Write(const RecordMap& map) {
    std::string out;
    const auto append = [&](std::string_view bytes) {
        out += bytes;
        return platform::Status();
    };
    Require(map.Write(append).HasValue());
    return out;
}

// The nickname of each record and the check sum over all that it holds.
std::string Records(RecordMap& map) {
    std::string out;
    for (auto at = map.First(); !at.IsEnd(); at = map.Next(at)) {
        const auto marker = addressbook::ChangeMarker(*map.RecordAt(at));
        out.append(map.KeyAt(at)).append("=").append(marker.value_or("none"));
    }
    return out;
}

// Whether the format can carry the record: no quote in the nickname, no note that reads as a tag.
bool IsCarriable(const NicknameRecord& record) {
    const auto& note = record.csNote.Str();
    for (const char* tag : {"name:", "address:", "phone:", "fax:"}) {
        if (note.starts_with(tag)) return false;
    }
    return std::string(record.szNickname).find('"') == std::string::npos;
}

}  // namespace

// Reads any bytes, walks, changes and saves them. If the format can carry the records, what was
// saved reads as the same records and saves as the same bytes.
void Check(std::string_view text) {
    RecordMap map, again;
    Load(map, text);
    const auto saved = Write(map);
    Load(again, saved);
    bool carriable = true;
    for (auto at = map.First(); !at.IsEnd(); at = map.Next(at)) {
        carriable = carriable && IsCarriable(*map.RecordAt(at));
    }
    Require(!carriable || (Records(map) == Records(again) && Write(again) == saved));
    // Every third record is removed, the others get new names.
    int count = 0;
    for (auto at = again.First(); !at.IsEnd() && count < 64; ++count) {
        const auto next = again.Next(at);
        if (count % 3 == 2) {
            again.Erase(at);
        } else {
            again.Rename(again.MakeChangeable(at), "new " + std::to_string(count));
        }
        at = next;
    }
    Write(again);
}
