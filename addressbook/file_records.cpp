#include "addressbook/file_records.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "addressbook/nickname_record.h"

namespace addressbook {

namespace {

constexpr std::size_t kKeyBytes = 8;

std::uint64_t KeyBytes(std::string_view name) {
    char bytes[kKeyBytes] = {};
    std::memcpy(bytes, name.data(), std::min(name.size(), kKeyBytes));
    std::uint64_t key = 0;
    for (const char byte : bytes) key = key << 8 | static_cast<unsigned char>(byte);
    return key;
}

CarriedUnit UnitOf(std::string_view text, const Entry& entry) {
    const auto place = static_cast<std::uint64_t>(entry.line.bytes.data() - text.data());
    CarriedUnit unit{.place = place, .line = entry.line.Text(), .note = {}};
    unit.hasNote = entry.hasNote;
    if (entry.hasNote) unit.note = entry.note.Text();
    return unit;
}

bool NameEndsLine(const Entry& entry) {
    const auto& name = entry.head.nickname;
    return name.data() + name.size() == entry.line.bytes.data() + entry.line.bytes.size();
}

// An entry line that must go on naming nobody. Without its CR the nickname could become short
// enough to be held.
CarriedUnit UnheldUnit(std::string_view text, const Entry& entry) {
    auto unit = UnitOf(text, entry);
    const auto cut = entry.line.bytes.size() - unit.line.size();
    const auto& name = entry.head.nickname;
    if (cut > 0 && NameEndsLine(entry) && FitsRecord(name.substr(0, name.size() - cut))) {
        unit.line = entry.line.bytes;
    }
    return unit;
}

}  // namespace

void FileRecords::SortByKey(std::span<Slot> slots) {
    constexpr std::size_t kWorthRadix = 512;
    if (slots.size() < kWorthRadix) {
        std::sort(slots.begin(), slots.end(), [](const Slot& a, const Slot& b) {
            return a.key != b.key ? a.key < b.key : (a.line & ~kFlag) < (b.line & ~kFlag);
        });
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
    if (from.data() != slots.data()) std::copy(from.begin(), from.end(), slots.begin());
}

FileBytes FileBytes::CopyOf(std::string_view text) {
    FileBytes bytes{platform::AllocateBlock(text.size()), text.size()};
    std::copy(text.begin(), text.end(), bytes.data.get());
    return bytes;
}

std::string_view FileRecords::NameOf(const Slot& slot) const {
    const auto text = Text().substr(slot.name & ~kFlag, kMaxNickname);
    const char end = (slot.line & kFlag) != 0 ? '"' : ' ';
    std::size_t size = 0;
    while (size < text.size() && text[size] != end && text[size] != '\n') ++size;
    return text.substr(0, size);
}

// The eight bytes of the nickname behind the first `depth`, which it has.
std::uint64_t FileRecords::KeyOf(const Slot& slot, std::size_t depth) const {
    const auto text = Text().substr((slot.name & ~kFlag) + depth, kMaxNickname - depth);
    const char end = (slot.line & kFlag) != 0 ? '"' : ' ';
    std::uint64_t key = 0;
    std::size_t size = 0;
    for (; size < kKeyBytes && size < text.size(); ++size) {
        const char byte = text[size];
        if (byte == end || byte == '\n') break;
        key = key << 8 | static_cast<unsigned char>(byte);
    }
    return size == 0 ? 0 : key << 8 * (kKeyBytes - size);
}

void FileRecords::Prefetch(std::size_t index) const {
    if (index >= m_slots.size()) return;
    const char* line = m_bytes.data.get() + LineOf(m_slots[index]);
    __builtin_prefetch(line);
    __builtin_prefetch(line + 64);
    __builtin_prefetch(line + 128);
}

bool FileRecords::MayFollow(std::size_t index, std::string_view nickname) const {
    return m_slots[index].key >= KeyBytes(nickname);
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
    bool sorted = true;
    std::string_view last;
    std::uint64_t lastKey = 0;
    for (std::size_t at = 0; at < text.size();) {
        const auto entry = EntryAt(text, at);
        const auto& name = entry.head.nickname;
        if (name.empty()) {
            const auto line = entry.line.Text();
            if (line.find_first_not_of('\r') != std::string_view::npos) {
                carried.Add(UnitOf(text, entry));
            }
        } else if (IsGroupName(name)) {
            carried.Add(UnitOf(text, entry));
        } else if (!FitsRecord(name)) {
            carried.Add(UnheldUnit(text, entry));
        } else {
            const auto key = KeyBytes(name);
            if (key < lastKey || (key == lastKey && name <= last)) sorted = false;
            lastKey = key;
            last = name;
            if (m_slots.size() == m_slots.capacity()) MakeRoom(at);
            const auto line = static_cast<std::uint32_t>(at);
            const auto begin = static_cast<std::uint32_t>(name.data() - text.data());
            m_slots.push_back({key, entry.head.quoted ? line | kFlag : line, begin});
        }
        at = entry.Next();
    }
    return sorted;
}

// Room for all, if the rest is like what lies before `at`, saves moving them as they grow; but the
// rest may be one long line.
void FileRecords::MakeRoom(std::size_t at) {
    constexpr std::size_t kFirst = 64, kFactor = 8;
    const auto size = m_slots.size();
    m_slots.reserve(size < kFirst ? kFirst : size * std::min(kFactor, m_bytes.size / at + 1));
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
            for (auto& later : run.subspan(1)) later.name |= kFlag;
            continue;
        }
        constexpr std::size_t kAhead = 16;
        for (std::size_t i = 0; i < run.size(); ++i) {
            if (i + kAhead < run.size()) {
                __builtin_prefetch(m_bytes.data.get() + (run[i + kAhead].name & ~kFlag) + depth);
            }
            run[i].key = KeyOf(run[i], depth + kKeyBytes);
        }
        Sort(run, depth + kKeyBytes);
        for (auto& slot : run) slot.key = key;
    }
}

void FileRecords::CarryDuplicates(CarriedUnits& carried) {
    std::erase_if(m_slots, [&](const Slot& slot) {
        if ((slot.name & kFlag) == 0) return false;
        const auto entry = EntryAt(Text(), LineOf(slot));
        auto unit = UnitOf(Text(), entry);
        if (NameEndsLine(entry)) {
            // The line end that it will get could be taken for a part of the nickname.
            std::string line(entry.line.bytes);
            line += entry.head.quoted ? '"' : ' ';
            unit.line = carried.Keep(std::move(line));
        }
        carried.AddOwned(unit, entry.head.nickname);
        return true;
    });
}

std::size_t FileRecords::LowerBound(std::string_view nickname) const {
    const auto key = KeyBytes(nickname);
    const auto found = std::partition_point(m_slots.begin(), m_slots.end(), [&](const Slot& slot) {
        return slot.key != key ? slot.key < key : NameOf(slot) < nickname;
    });
    return static_cast<std::size_t>(found - m_slots.begin());
}

}  // namespace addressbook
