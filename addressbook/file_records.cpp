#include "addressbook/file_records.h"

#include <algorithm>
#include <array>
#include <utility>

namespace addressbook {

namespace {

constexpr std::size_t kKeyBytes = 8;

// The first bytes of the nickname, which has no zero byte, as a number.
std::uint64_t KeyOf(std::string_view name) {
    std::uint64_t key = 0;
    const auto size = std::min(name.size(), kKeyBytes);
    for (std::size_t i = 0; i < size; ++i) key = key << 8 | static_cast<unsigned char>(name[i]);
    return size == 0 ? 0 : key << 8 * (kKeyBytes - size);
}

bool NameEndsLine(const Entry& entry) {
    const auto &name = entry.head.nickname, &line = entry.line.bytes;
    return name.data() + name.size() == line.data() + line.size();
}

CarriedUnit UnitOf(const Entry& entry) {
    return {entry.at, entry.line.Text(), entry.note.Text()};
}

// An entry line that must go on naming nobody. Without its CR the nickname could become short
// enough to be held.
CarriedUnit UnheldUnit(const Entry& entry) {
    auto unit = UnitOf(entry);
    const auto& name = entry.head.nickname;
    const auto cut = entry.line.bytes.size() - unit.line.size();
    if (cut > 0 && NameEndsLine(entry) && FitsRecord(name.substr(0, name.size() - cut))) {
        unit.line = entry.line.bytes;
    }
    return unit;
}

}  // namespace

// At most `most` bytes of the nickname behind the first `from`, which it has.
std::string_view FileRecords::NameOf(const Slot& slot, std::size_t from, std::size_t most) const {
    const auto text = Text().substr(slot.name + from, most);
    const char end = (slot.line & kFlag) != 0 ? '"' : ' ';
    std::size_t size = 0;
    while (size < text.size() && text[size] != end && text[size] != '\n') ++size;
    return text.substr(0, size);
}

void FileRecords::Prefetch(std::size_t index) const {
    if (index >= m_slots.size()) return;
    const char* line = m_bytes.data.get() + LineOf(m_slots[index]);
    for (const int ahead : {0, 64, 128}) __builtin_prefetch(line + ahead);
}

void FileRecords::Load(FileBytes bytes, CarriedUnits& carried) {
    m_slots = {};
    m_bytes = std::move(bytes);
    if (Scan(carried)) return;
    Sort(m_slots, 0);
    CarryDuplicates(carried);
}

// Gives whether the records stand in order, each nickname once.
bool FileRecords::Scan(CarriedUnits& carried) {
    const auto text = Text();
    bool isSorted = true;
    std::string_view last;
    for (std::size_t at = 0; at < text.size();) {
        const auto entry = EntryAt(text, at);
        const auto& name = entry.head.nickname;
        if (name.empty()) {
            const auto unit = UnitOf(entry);
            if (unit.line.find_first_not_of('\r') != unit.line.npos) carried.Add(unit);
        } else if (IsGroupName(name)) {
            carried.Add(UnitOf(entry));
        } else if (!FitsRecord(name)) {
            carried.Add(UnheldUnit(entry));
        } else {
            isSorted = isSorted && last < name;
            last = name;
            AddSlot(entry);
        }
        at = entry.next;
    }
    return isSorted;
}

void FileRecords::AddSlot(const Entry& entry) {
    const auto size = m_slots.size();
    if (size == m_slots.capacity()) {
        // Room for all, if the rest is like what lies before, saves moving them as they grow; but
        // the rest may be one long line.
        constexpr std::size_t kFirst = 64, kFactor = 8;
        m_slots.reserve(size < kFirst ? kFirst
                                      : size * std::min(kFactor, m_bytes.size / entry.at + 1));
    }
    const auto& head = entry.head;
    const auto name = static_cast<std::size_t>(head.nickname.data() - m_bytes.data.get());
    m_slots.push_back({KeyOf(head.nickname),
                       static_cast<std::uint32_t>(entry.at) | (head.quoted ? kFlag : 0),
                       static_cast<std::uint32_t>(name)});
}

void FileRecords::SortByKey(std::span<Slot> slots) {
    constexpr std::size_t kWorthRadix = 512;
    if (slots.size() < kWorthRadix) {
        std::ranges::sort(slots, {},
                          [](const Slot& slot) { return std::pair(slot.key, LineOf(slot)); });
        return;
    }
    std::array<std::array<std::uint32_t, 256>, kKeyBytes> counts{};
    for (const auto& slot : slots) {
        for (std::size_t i = 0; i < kKeyBytes; ++i) ++counts[i][slot.key >> 8 * i & 0xFF];
    }
    std::vector<Slot> other(slots.size());
    std::span<Slot> from = slots, to = other;
    for (std::size_t i = 0; i < kKeyBytes; ++i) {
        auto& places = counts[i];
        if (places[from[0].key >> 8 * i & 0xFF] == slots.size()) continue;  // the same in all
        std::uint32_t place = 0;
        for (auto& count : places) place += std::exchange(count, place);
        for (const auto& slot : from) to[places[slot.key >> 8 * i & 0xFF]++] = slot;
        std::swap(from, to);
    }
    if (from.data() != slots.data()) std::ranges::copy(from, slots.begin());
}

// Sorts records that agree in the first `depth` bytes of their nicknames, whose next eight are in
// the keys; equal nicknames stay in the order of the file. Comparing keys only, and fetching the
// next eight bytes once for those that agree, goes to the file's bytes as seldom as can be.
void FileRecords::Sort(std::span<Slot> slots, std::size_t depth) {
    SortByKey(slots);
    for (std::size_t begin = 0; begin < slots.size();) {
        const auto key = slots[begin].key;
        std::size_t end = begin + 1;
        while (end < slots.size() && slots[end].key == key) ++end;
        const auto run = slots.subspan(begin, end - begin);
        begin = end;
        if (run.size() == 1) continue;
        if ((key & 0xFF) == 0) {  // a nickname holds no zero byte: all have ended, they are equal
            for (auto& later : run.subspan(1)) later.name = kDuplicate;
            continue;
        }
        constexpr std::size_t kAhead = 16;
        for (std::size_t i = 0; i < run.size(); ++i) {
            if (i + kAhead < run.size()) {
                __builtin_prefetch(m_bytes.data.get() + LineOf(run[i + kAhead]) + depth);
            }
            run[i].key = KeyOf(NameOf(run[i], depth + kKeyBytes, kKeyBytes));
        }
        Sort(run, depth + kKeyBytes);
        for (auto& slot : run) slot.key = key;
    }
}

void FileRecords::CarryDuplicates(CarriedUnits& carried) {
    std::erase_if(m_slots, [&](const Slot& slot) {
        if (slot.name != kDuplicate) return false;
        const auto entry = EntryAt(Text(), LineOf(slot));
        auto unit = UnitOf(entry);
        if (NameEndsLine(entry)) {
            // The line end that it will get could be taken for a part of the nickname.
            unit.line =
                carried.Keep(std::string(entry.line.bytes) + (entry.head.quoted ? '"' : ' '));
        }
        carried.AddOwned(unit, entry.head.nickname);
        return true;
    });
}

std::size_t FileRecords::LowerBound(std::string_view nickname) const {
    const auto isBefore = [&, key = KeyOf(nickname)](const Slot& slot) {
        return slot.key != key ? slot.key < key : NameOf(slot) < nickname;
    };
    return static_cast<std::size_t>(std::ranges::partition_point(m_slots, isBefore) -
                                    m_slots.begin());
}

}  // namespace addressbook
