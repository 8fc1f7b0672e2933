#include "addressbook/nickname_writer.h"

#include <algorithm>
#include <string>
#include <vector>

#include "addressbook/nickname_lines.h"
#include "addressbook/record_lines.h"

namespace addressbook {

namespace {

constexpr std::size_t kChunk = 1 << 20;  // bytes handed to the sink at once

class Writer : public RecordMap::Visitor {
  public:
    Writer(const RecordMap& records, const ByteSink& sink) : m_records(records), m_sink(sink) {
        m_buffer.reserve(kChunk + kChunk / 4);
    }

    platform::Status Run() {
        m_records.Visit(*this);
        if (m_status) WriteCarried();
        if (m_status && !m_buffer.empty()) m_status = m_sink(m_buffer);
        return m_status;
    }

    bool OnFileRecord(const Entry& entry, std::uint64_t place) override {
        BeginUnit();
        if (IsNormal(entry)) {
            m_buffer += BytesOf(m_records.FileText(), entry);
            m_takesNote = !entry.hasNote;
            return Drain();
        }
        Leftover leftover;
        ParseRecord(entry, m_text, leftover);
        if (leftover.Any()) {
            m_leftovers.push_back(m_made.LeftoverUnit(place, entry.head.nickname, leftover));
        }
        return Append(entry.head.nickname);
    }

    bool OnRecord(std::string_view nickname, const NicknameRecord& record) override {
        BeginUnit();
        ShowText(record, m_text);
        return Append(nickname);
    }

  private:
    bool Append(std::string_view nickname) {
        AppendRecord(m_buffer, nickname, m_text);
        m_takesNote = !m_text.HasNoteContent();
        return Drain();
    }

    void WriteCarried() {
        auto units = m_records.Carried().Units();
        units.insert(units.end(), m_leftovers.begin(), m_leftovers.end());
        std::sort(units.begin(), units.end(),
                  [](const auto& a, const auto& b) { return a.place < b.place; });
        for (const auto& unit : units) {
            BeginUnit();
            // The empty line keeps the line above from taking this one as its note line.
            if (m_takesNote && IsNoteLine(unit.line)) m_buffer += "\r\n";
            m_buffer += unit.line;
            if (unit.hasNote) {
                m_buffer += "\r\n";
                m_buffer += unit.note;
            }
            m_takesNote = !unit.hasNote && TakesNote(unit.line);
            if (!Drain()) return;
        }
    }

    static bool TakesNote(std::string_view line) {
        const auto head = ScanEntryHead(line);
        return !head.nickname.empty() && (head.quoted || !IsGroupName(head.nickname));
    }

    void BeginUnit() {
        if (m_begun) m_buffer += "\r\n";
        m_begun = true;
    }

    bool Drain() {
        if (m_buffer.size() < kChunk) return true;
        m_status = m_sink(m_buffer);
        m_buffer.clear();
        return static_cast<bool>(m_status);
    }

    const RecordMap& m_records;
    const ByteSink& m_sink;
    std::string m_buffer;
    platform::Status m_status;
    RecordText m_text;
    CarriedUnits m_made;
    std::vector<CarriedUnit> m_leftovers;
    bool m_begun = false;
    bool m_takesNote = false;  // the line above would take a note line
};

}  // namespace

platform::Status WriteNicknames(const RecordMap& records, const ByteSink& sink) {
    return Writer(records, sink).Run();
}

}  // namespace addressbook
