#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "addressbook/carried_units.h"
#include "addressbook/file_records.h"
#include "addressbook/nickname_record.h"

namespace addressbook {

// All records of a nickname file: an ordered map, by the byte values of the nickname. Records of
// the file stay as they were read until they are changed; those and new ones lie in a second,
// usually small map, and every operation sees both as one. What the file holds beside the records
// is carried along. What throws, for want of memory, has changed nothing.
class RecordMap {
  private:
    using Own = std::map<std::string, std::unique_ptr<NicknameRecord>, std::less<>>;

  public:
    // A place in the map, or its end. Stays valid until that entry is erased, renamed or made
    // changeable, or the map is loaded or cleared.
    class Position {
      public:
        bool IsEnd() const { return m_kind == Kind::kEnd; }
        friend bool operator==(const Position& a, const Position& b) {
            return a.m_kind == b.m_kind && a.m_index == b.m_index && a.m_own == b.m_own;
        }

      private:
        friend class RecordMap;
        enum class Kind { kEnd, kFile, kOwn };
        Kind m_kind = Kind::kEnd;
        std::size_t m_index = 0;
        Own::const_iterator m_own{};
    };

    // Replaces everything by the content of a file.
    void Load(FileBytes bytes);
    // Erases all records with what belongs to them; the rest of the file stays.
    void Clear() noexcept;

    Position Find(std::string_view nickname) const;
    Position First() const { return FirstOf(0, m_own.begin()); }
    Position Next(const Position& position) const;
    std::string_view KeyAt(const Position& position) const;
    // A record of the file is valid until the next RecordAt, and may be read only.
    NicknameRecord* RecordAt(const Position& position);

    // Gives the entry a record of its own that may be changed and lives as long as the entry.
    Position MakeChangeable(const Position& position);
    // Takes the record over under a nickname that is not in the map.
    Position Insert(std::string_view nickname, std::unique_ptr<NicknameRecord>&& record);
    // Moves a changeable record, and what belongs to it, to a nickname that is not in the map.
    Position Rename(const Position& position, std::string_view nickname);
    // Gives the entry behind the erased one.
    Position Erase(const Position& position) noexcept;

    // Sees every entry in order; stops when a call gives false.
    class Visitor {
      public:
        virtual ~Visitor() = default;
        virtual bool OnFileRecord(const Entry& entry, std::uint64_t place) = 0;
        virtual bool OnRecord(std::string_view nickname, const NicknameRecord& record) = 0;
    };
    void Visit(Visitor& visitor) const;
    std::string_view FileText() const { return m_file.Text(); }
    const CarriedUnits& Carried() const { return m_carried; }

  private:
    Position FirstOf(std::size_t index, Own::const_iterator own) const;
    static Position At(Own::const_iterator own);

    FileRecords m_file;
    std::vector<bool> m_gone;  // by place among the file's records
    Own m_own;
    CarriedUnits m_carried;
    NicknameRecord m_read;  // what RecordAt made of a record of the file
};

}  // namespace addressbook
