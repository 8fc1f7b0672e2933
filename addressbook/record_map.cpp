#include "addressbook/record_map.h"

#include "addressbook/record_lines.h"

namespace addressbook {

void RecordMap::Load(FileBytes bytes) {
    CarriedUnits carried;
    FileRecords file;
    file.Load(std::move(bytes), carried);
    std::vector<bool> gone(file.Size());
    m_own.clear();
    m_gone = std::move(gone);
    m_carried = std::move(carried);
    m_file = std::move(file);
}

void RecordMap::Clear() noexcept {
    m_own.clear();
    m_gone.clear();
    m_file.Clear();
    m_carried.DropAllOwned();
}

RecordMap::Position RecordMap::At(Own::const_iterator own) {
    Position position;
    position.m_kind = Position::Kind::kOwn;
    position.m_own = own;
    return position;
}

RecordMap::Position RecordMap::FirstOf(std::size_t index, Own::const_iterator own) const {
    while (index < m_file.Size() && m_gone[index]) ++index;
    const bool hasOwn = own != m_own.end();
    if (index < m_file.Size() && (!hasOwn || m_file.NameAt(index) < own->first)) {
        Position position;
        position.m_kind = Position::Kind::kFile;
        position.m_index = index;
        return position;
    }
    return hasOwn ? At(own) : Position();
}

RecordMap::Position RecordMap::Find(std::string_view nickname) const {
    if (const auto own = m_own.find(nickname); own != m_own.end()) return At(own);
    const auto index = m_file.LowerBound(nickname);
    if (index == m_file.Size() || m_gone[index] || m_file.NameAt(index) != nickname) return {};
    Position position;
    position.m_kind = Position::Kind::kFile;
    position.m_index = index;
    return position;
}

RecordMap::Position RecordMap::Next(const Position& position) const {
    if (position.m_kind == Position::Kind::kEnd) return position;
    if (position.m_kind == Position::Kind::kOwn) {
        const auto& key = position.m_own->first;
        return FirstOf(m_file.LowerBound(key), std::next(position.m_own));
    }
    const auto own =
        m_own.empty() ? m_own.end() : m_own.upper_bound(m_file.NameAt(position.m_index));
    return FirstOf(position.m_index + 1, own);
}

std::string_view RecordMap::KeyAt(const Position& position) const {
    if (position.m_kind == Position::Kind::kOwn) return position.m_own->first;
    return m_file.NameAt(position.m_index);
}

NicknameRecord* RecordMap::RecordAt(const Position& position) {
    if (position.m_kind == Position::Kind::kOwn) return position.m_own->second.get();
    NicknameRecord record;
    Leftover leftover;
    ReadRecord(m_file.EntryOf(position.m_index), record, leftover);
    m_read = std::move(record);
    return &m_read;
}

RecordMap::Position RecordMap::MakeChangeable(const Position& position) {
    if (position.m_kind != Position::Kind::kFile) return position;
    const auto entry = m_file.EntryOf(position.m_index);
    const auto name = m_file.NameAt(position.m_index);
    Own own;
    const auto made = own.emplace(std::string(name), std::make_unique<NicknameRecord>()).first;
    Leftover leftover;
    ReadRecord(entry, *made->second, leftover);
    if (leftover.Any()) {
        const auto place = m_file.PlaceOf(position.m_index);
        m_carried.AddOwned(m_carried.LeftoverUnit(place, name, leftover), name);
    }
    m_gone[position.m_index] = true;
    return At(m_own.insert(own.extract(made)).position);
}

RecordMap::Position RecordMap::Insert(std::string_view nickname,
                                      std::unique_ptr<NicknameRecord>&& record) {
    return At(m_own.emplace(std::string(nickname), std::move(record)).first);
}

RecordMap::Position RecordMap::Rename(const Position& position, std::string_view nickname) {
    std::string key(nickname);
    m_carried.Rename(position.m_own->first, nickname);
    auto node = m_own.extract(position.m_own);
    node.key() = std::move(key);
    return At(m_own.insert(std::move(node)).position);
}

RecordMap::Position RecordMap::Erase(const Position& position) noexcept {
    const auto next = Next(position);
    m_carried.DropOwned(KeyAt(position));
    if (position.m_kind == Position::Kind::kFile) {
        m_gone[position.m_index] = true;
    } else if (position.m_kind == Position::Kind::kOwn) {
        m_own.erase(position.m_own);
    }
    return next;
}

void RecordMap::Visit(Visitor& visitor) const {
    constexpr std::size_t kAhead = 8;
    auto own = m_own.begin();
    for (std::size_t index = 0; index < m_file.Size(); ++index) {
        m_file.Prefetch(index + kAhead);
        if (m_gone[index]) continue;
        if (own != m_own.end() && m_file.MayFollow(index, own->first)) {
            const auto name = m_file.NameAt(index);
            for (; own != m_own.end() && own->first < name; ++own) {
                if (!visitor.OnRecord(own->first, *own->second)) return;
            }
        }
        if (!visitor.OnFileRecord(m_file.EntryOf(index), m_file.PlaceOf(index))) return;
    }
    for (; own != m_own.end(); ++own) {
        if (!visitor.OnRecord(own->first, *own->second)) return;
    }
}

}  // namespace addressbook
