#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "addressbook/carried_units.h"
#include "addressbook/nickname_lines.h"
#include "platform/os/large_block.h"

namespace addressbook {

// The bytes of a whole nickname file.
struct FileBytes {
    platform::LargeBlock data;
    std::size_t size = 0;

    std::string_view View() const { return {data.get(), size}; }
    static FileBytes CopyOf(std::string_view text);
};

// Larger files are refused: a place in the file takes 31 bits.
inline constexpr std::uint64_t kMaxFileBytes = 0x7FFFFFFF;

// The records of a file as it was read, sorted by nickname, without taking them apart: 16 bytes
// for each beside the file's own bytes. Of several with one nickname the first in the file counts.
// They are sorted by the bytes of their nicknames, eight at a time, one pass for each: loading
// 1,000,000 records in no order seven times takes 0.8 s of processor time, with std::sort 1.4 s.
class FileRecords {
  public:
    // Takes over the bytes; what holds no record goes to `carried`.
    void Load(FileBytes bytes, CarriedUnits& carried);
    void Clear() noexcept { m_slots = {}; }

    std::size_t Size() const { return m_slots.size(); }
    std::string_view NameAt(std::size_t index) const { return NameOf(m_slots[index]); }
    // Whether the record at `index` may stand behind `nickname`, told by their first bytes alone:
    // false means that it surely stands before.
    bool MayFollow(std::size_t index, std::string_view nickname) const;
    Entry EntryOf(std::size_t index) const { return EntryAt(Text(), LineOf(m_slots[index])); }
    std::uint64_t PlaceOf(std::size_t index) const { return LineOf(m_slots[index]); }
    // The first record whose nickname is not less; Size() if there is none.
    std::size_t LowerBound(std::string_view nickname) const;
    std::string_view Text() const { return m_bytes.View(); }
    // Asks the processor for the record's lines ahead of their use.
    void Prefetch(std::size_t index) const;

  private:
    static constexpr std::uint32_t kFlag = 0x80000000;

    struct Slot {
        std::uint64_t key;   // eight bytes of the nickname as a number, the first highest
        std::uint32_t line;  // where the entry begins; flag: the quoted form
        std::uint32_t name;  // where the nickname begins; flag: a later duplicate
    };

    static std::size_t LineOf(const Slot& slot) { return slot.line & ~kFlag; }
    std::string_view NameOf(const Slot& slot) const;
    std::uint64_t KeyOf(const Slot& slot, std::size_t depth) const;
    bool Scan(CarriedUnits& carried);
    void MakeRoom(std::size_t at);
    static void SortByKey(std::span<Slot> slots);
    void Sort(std::span<Slot> slots, std::size_t depth);
    void CarryDuplicates(CarriedUnits& carried);

    FileBytes m_bytes;
    std::vector<Slot> m_slots;
};

}  // namespace addressbook
