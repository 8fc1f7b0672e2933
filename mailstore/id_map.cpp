#include "mailstore/id_map.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <limits>
#include <new>

namespace mailstore {

namespace {

constexpr std::size_t kSmallestTable = 16;
constexpr std::size_t kUsualTexts = 64;  // bytes of a key and its value, for Reserve

std::uint32_t HashOf(std::string_view text) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>{}(text));
}

}  // namespace

void IdMap::Reserve(std::size_t count) {
    m_entries.reserve(count);
    m_texts.reserve(count * kUsualTexts);
    if (count * 2 > m_table.size()) MakeTable(count * 2);
}

IdMap::Place IdMap::Keep(std::string_view text) {
    constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (text.size() > kMost - m_texts.size()) throw std::bad_alloc();
    const Place place{static_cast<std::uint32_t>(m_texts.size()),
                      static_cast<std::uint32_t>(text.size())};
    m_texts += text;
    return place;
}

// Where the key stands in the table, or the free slot where it would. An erased key keeps its
// slot.
std::size_t IdMap::SlotOf(std::string_view key, std::uint32_t hash) const {
    const std::size_t mask = m_table.size() - 1;
    std::size_t at = hash & mask;
    for (; m_table[at].number != 0; at = (at + 1) & mask) {
        if (m_table[at].hash == hash && Text(m_entries[m_table[at].number - 1].key) == key) break;
    }
    return at;
}

void IdMap::MakeTable(std::size_t size) {
    m_table.assign(std::bit_ceil(std::max(size, kSmallestTable)), {});
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const std::string_view key = Text(m_entries[i].key);
        const std::uint32_t hash = HashOf(key);
        m_table[SlotOf(key, hash)] = {hash, static_cast<std::uint32_t>(i + 1)};
    }
}

void IdMap::Set(std::string_view key, std::string_view value) {
    if (m_entries.size() * 2 >= m_table.size()) MakeTable(m_table.size() * 2);
    const std::uint32_t hash = HashOf(key);
    Slot& slot = m_table[SlotOf(key, hash)];
    if (slot.number == 0) {
        m_entries.push_back({Keep(key), Keep(value)});
        slot = {hash, static_cast<std::uint32_t>(m_entries.size())};
        ++m_size;
        return;
    }
    Entry& entry = m_entries[slot.number - 1];
    if (entry.isErased) ++m_size;
    entry = {entry.key, Text(entry.value) == value ? entry.value : Keep(value)};
}

std::uint32_t IdMap::NumberOf(std::string_view key) const {
    if (m_table.empty()) return 0;
    const std::uint32_t number = m_table[SlotOf(key, HashOf(key))].number;
    return number == 0 || m_entries[number - 1].isErased ? 0 : number;
}

std::optional<std::string_view> IdMap::Find(std::string_view key) const {
    const std::uint32_t number = NumberOf(key);
    if (number == 0) return std::nullopt;
    return Text(m_entries[number - 1].value);
}

void IdMap::Erase(std::string_view key) {
    const std::uint32_t number = NumberOf(key);
    if (number == 0) return;
    m_entries[number - 1].isErased = true;
    --m_size;
}

}  // namespace mailstore
