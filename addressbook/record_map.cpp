#include "addressbook/record_map.h"

#include <algorithm>

namespace addressbook {

namespace {

// A nickname file on its way to a sink, unit by unit. After a failure nothing more is written.
class Writer {
  public:
    explicit Writer(const ByteSink& sink) : m_sink(sink) { m_buffer.reserve(kChunk + kChunk / 4); }

    bool IsGood() const { return static_cast<bool>(m_status); }

    void CopyRecord(std::string_view lines) {
        Begin();
        m_buffer += lines;
        m_takesNote = lines.find('\n') == std::string_view::npos;
        Drain(kChunk);
    }
    void RewriteRecord(const Entry& entry) {
        Leftover leftover;
        ParseRecord(entry, m_text, leftover);
        m_leftovers.AddLeftover(entry.at, entry.head.nickname, leftover);
        AppendText(entry.head.nickname);
    }
    void WriteRecord(std::string_view nickname, const NicknameRecord& record) {
        ShowText(record, m_text);
        AppendText(nickname);
    }
    platform::Status Finish(std::vector<CarriedUnit> units) {
        const auto leftovers = m_leftovers.Units();
        units.insert(units.end(), leftovers.begin(), leftovers.end());
        std::ranges::sort(units, {}, &CarriedUnit::place);
        for (const auto& unit : units) WriteUnit(unit);
        Drain(1);
        return m_status;
    }

  private:
    static constexpr std::size_t kChunk = 1 << 20;  // bytes handed to the sink at once

    void Begin() {
        if (m_begun) m_buffer += "\r\n";
        m_begun = true;
    }
    void AppendText(std::string_view nickname) {
        Begin();
        AppendRecord(m_buffer, nickname, m_text);
        m_takesNote = !m_text.HasNoteContent();
        Drain(kChunk);
    }
    void WriteUnit(const CarriedUnit& unit) {
        Begin();
        // The empty line keeps the line above from taking this one as its note line.
        if (m_takesNote && IsNoteLine(unit.line)) m_buffer += "\r\n";
        m_buffer += unit.line;
        if (!unit.note.empty()) m_buffer.append("\r\n").append(unit.note);
        m_takesNote = unit.note.empty() && ScanEntryHead(unit.line).TakesNote();
        Drain(kChunk);
    }
    void Drain(std::size_t least) {
        if (m_buffer.size() < least) return;
        if (m_status) m_status = m_sink(m_buffer);
        m_buffer.clear();
    }

    const ByteSink& m_sink;
    std::string m_buffer;
    platform::Status m_status;
    RecordText m_text;
    CarriedUnits m_leftovers;
    bool m_begun = false;
    bool m_takesNote = false;  // the line above would take a note line
};

}  // namespace

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

RecordMap::Position RecordMap::FirstOf(std::size_t index, Own::const_iterator own) const {
    while (index < m_file.Size() && m_gone[index]) ++index;
    const bool hasOwn = own != m_own.end();
    if (index < m_file.Size() && (!hasOwn || m_file.NameAt(index) < own->first))
        return Position(index);
    return hasOwn ? Position(own) : Position();
}

RecordMap::Position RecordMap::Find(std::string_view nickname) const {
    if (const auto own = m_own.find(nickname); own != m_own.end()) return Position(own);
    const auto index = m_file.LowerBound(nickname);
    const bool isThere =
        index < m_file.Size() && !m_gone[index] && m_file.NameAt(index) == nickname;
    return isThere ? Position(index) : Position();
}

RecordMap::Position RecordMap::Next(const Position& position) const {
    if (position.IsEnd()) return position;
    if (const auto* own = std::get_if<Own::const_iterator>(&position.m_at)) {
        return FirstOf(m_file.LowerBound((*own)->first), std::next(*own));
    }
    const auto index = std::get<std::size_t>(position.m_at);
    return FirstOf(index + 1, m_own.empty() ? m_own.end() : m_own.upper_bound(KeyAt(position)));
}

std::string_view RecordMap::KeyAt(const Position& position) const {
    if (const auto* index = std::get_if<std::size_t>(&position.m_at)) return m_file.NameAt(*index);
    return std::get<Own::const_iterator>(position.m_at)->first;
}

NicknameRecord* RecordMap::RecordAt(const Position& position) {
    const auto* index = std::get_if<std::size_t>(&position.m_at);
    if (index == nullptr) return std::get<Own::const_iterator>(position.m_at)->second.get();
    Leftover leftover;
    m_read = ReadRecord(m_file.EntryOf(*index), leftover);
    return &m_read;
}

RecordMap::Position RecordMap::MakeChangeable(const Position& position) {
    const auto* index = std::get_if<std::size_t>(&position.m_at);
    if (index == nullptr) return position;
    const auto entry = m_file.EntryOf(*index);
    const auto& name = entry.head.nickname;
    Leftover leftover;
    Own own;
    const auto made = own.emplace(std::string(name),
                                  std::make_unique<NicknameRecord>(ReadRecord(entry, leftover)));
    m_carried.AddLeftover(entry.at, name, leftover);
    m_gone[*index] = true;
    return Position(m_own.insert(own.extract(made.first)).position);
}

RecordMap::Position RecordMap::Insert(std::string_view nickname,
                                      std::unique_ptr<NicknameRecord>&& record) {
    return Position(m_own.emplace(std::string(nickname), std::move(record)).first);
}

RecordMap::Position RecordMap::Rename(const Position& position, std::string_view nickname) {
    const auto own = std::get<Own::const_iterator>(position.m_at);
    std::string key(nickname);
    m_carried.Rename(own->first, nickname);
    auto node = m_own.extract(own);
    node.key() = std::move(key);
    return Position(m_own.insert(std::move(node)).position);
}

RecordMap::Position RecordMap::Erase(const Position& position) noexcept {
    const auto next = Next(position);
    m_carried.DropOwned(KeyAt(position));
    if (const auto* index = std::get_if<std::size_t>(&position.m_at)) {
        m_gone[*index] = true;
    } else {
        m_own.erase(std::get<Own::const_iterator>(position.m_at));
    }
    return next;
}

platform::Status RecordMap::Write(const ByteSink& sink) const {
    constexpr std::size_t kAhead = 8;
    Writer writer(sink);
    std::size_t at = 0;
    const auto writeUpTo = [&](std::size_t end) {
        for (; at < end && writer.IsGood(); ++at) {
            m_file.Prefetch(at + kAhead);
            if (m_gone[at]) continue;
            const auto entry = m_file.EntryOf(at);
            if (const auto size = NormalSize(entry); size > 0) {
                writer.CopyRecord({entry.line.bytes.data(), size});
            } else {
                writer.RewriteRecord(entry);
            }
        }
    };
    for (const auto& [nickname, record] : m_own) {
        writeUpTo(m_file.LowerBound(nickname));
        writer.WriteRecord(nickname, *record);
    }
    writeUpTo(m_file.Size());
    return writer.Finish(m_carried.Units());
}

}  // namespace addressbook
