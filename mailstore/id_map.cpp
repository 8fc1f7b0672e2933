#include "mailstore/id_map.h"

#include <bit>
#include <functional>
#include <limits>
#include <new>

namespace mailstore {

namespace {

constexpr std::size_t kSmallestTable = 16;

}  // namespace

void IdMap::Reserve(std::size_t count) {
    m_entries.reserve(count);
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
std::size_t IdMap::SlotOf(std::string_view key) const {
    const std::size_t mask = m_table.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(key)&mask;
    while (m_table[slot] != 0 && Text(m_entries[m_table[slot] - 1].key) != key) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

void IdMap::MakeTable(std::size_t size) {
    m_table.assign(std::bit_ceil(std::max(size, kSmallestTable)), 0);
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        m_table[SlotOf(Text(m_entries[i].key))] = static_cast<std::uint32_t>(i + 1);
    }
}

void IdMap::Set(std::string_view key, std::string_view value) {
    if (m_entries.size() * 2 >= m_table.size()) MakeTable(m_table.size() * 2);
    std::uint32_t& position = m_table[SlotOf(key)];
    if (position == 0) {
        m_entries.push_back({Keep(key), Keep(value)});
        position = static_cast<std::uint32_t>(m_entries.size());
        ++m_size;
        return;
    }
    Entry& entry = m_entries[position - 1];
    if (entry.isErased) ++m_size;
    entry = {entry.key, Text(entry.value) == value ? entry.value : Keep(value)};
}

std::optional<std::string_view> IdMap::Find(std::string_view key) const {
    if (m_table.empty()) return std::nullopt;
    const std::uint32_t position = m_table[SlotOf(key)];
    if (position == 0 || m_entries[position - 1].isErased) return std::nullopt;
    return Text(m_entries[position - 1].value);
}

void IdMap::Erase(std::string_view key) {
    if (!Find(key)) return;
    m_entries[m_table[SlotOf(key)] - 1].isErased = true;
    --m_size;
}

}  // namespace mailstore
