#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "addressbook/carried_units.h"
#include "addressbook/nickname_lines.h"
#include "platform/os/program.h"

namespace addressbook {

// The bytes of a whole nickname file.
struct FileBytes {
    platform::LargeBlock data;
    std::size_t size = 0;

    std::string_view View() const { return {data.get(), size}; }
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
    Entry EntryOf(std::size_t index) const { return EntryAt(Text(), LineOf(m_slots[index])); }
    // The first record whose nickname is not less; Size() if there is none.
    std::size_t LowerBound(std::string_view nickname) const;
    // Asks the processor for the record's lines ahead of their use.
    void Prefetch(std::size_t index) const;

  private:
    static constexpr std::uint32_t kFlag = 0x80000000;
    static constexpr std::uint32_t kDuplicate = 0;  // as a name: no nickname begins there

    struct Slot {
        std::uint64_t key;   // eight bytes of the nickname as a number, the first highest
        std::uint32_t line;  // where the entry begins; flag: the quoted form
        std::uint32_t name;  // where the nickname begins, or kDuplicate
    };

    std::string_view Text() const { return m_bytes.View(); }
    static std::size_t LineOf(const Slot& slot) { return slot.line & ~kFlag; }
    std::string_view NameOf(const Slot& slot) const { return NameOf(slot, 0, kMaxNickname); }
    std::string_view NameOf(const Slot& slot, std::size_t from, std::size_t most) const;
    bool Scan(CarriedUnits& carried);
    void AddSlot(const Entry& entry);
    static void SortByKey(std::span<Slot> slots);
    void Sort(std::span<Slot> slots, std::size_t depth);
    void CarryDuplicates(CarriedUnits& carried);

    FileBytes m_bytes;
    std::vector<Slot> m_slots;
};

}  // namespace addressbook
