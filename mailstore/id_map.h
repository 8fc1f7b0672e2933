#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mailstore {

// A map of text to text for the ids of a whole mailbox. Its texts lie in one block of memory, so
// that entering 65,000 of them costs little; the room of what is replaced or erased is given back
// by Clear alone.
class IdMap {
  public:
    void Reserve(std::size_t count);
    // Replaces the value of a key that is there.
    void Set(std::string_view key, std::string_view value);
    // The value, valid until the map changes.
    std::optional<std::string_view> Find(std::string_view key) const;
    void Erase(std::string_view key);
    void Clear() { *this = IdMap(); }
    std::size_t Size() const { return m_size; }

    // Calls `visit` with each key and value, in the order in which the keys were entered.
    template <class Visit>
    void ForEach(Visit&& visit) const {
        for (const Entry& entry : m_entries) {
            if (!entry.isErased) visit(Text(entry.key), Text(entry.value));
        }
    }

  private:
    struct Place {
        std::uint32_t at = 0, length = 0;
    };
    struct Entry {
        Place key, value;
        bool isErased = false;
    };
    // Both are 0 in a free slot. The hash tells most keys apart without looking at their texts.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t number = 0;  // of the entry, counted from 1
    };

    std::string_view Text(Place place) const {
        return std::string_view(m_texts).substr(place.at, place.length);
    }
    Place Keep(std::string_view text);
    std::size_t SlotOf(std::string_view key, std::uint32_t hash) const;
    std::uint32_t NumberOf(std::string_view key) const;  // 0 if it is not there
    void MakeTable(std::size_t size);

    std::string m_texts;
    std::vector<Entry> m_entries;
    std::vector<Slot> m_table;  // a power of two, at most half of them taken
    std::size_t m_size = 0;
};

}  // namespace mailstore
