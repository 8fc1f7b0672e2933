#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "addressbook/carried_units.h"
#include "addressbook/file_records.h"
#include "addressbook/nickname_record.h"
#include "platform/os/result.h"

// The records of a nickname file as an ordered map. Texts are in the system code page.
namespace addressbook {

// Takes the next bytes of a file.
using ByteSink = std::function<platform::Status(std::string_view)>;

// All records, ordered by the byte values of their nicknames. Unchanged records stay in the file's
// bytes; changed and new ones lie in a second, usually small map, and every operation sees both as
// one. Lines without a record are carried along. A lack of memory is thrown and changes nothing.
class RecordMap {
  private:
    using Own = std::map<std::string, std::unique_ptr<NicknameRecord>, std::less<>>;

  public:
    // A place in the map, or its end. Stays valid until that entry is erased, renamed or made
    // changeable, or the map is loaded or cleared.
    class Position {
      public:
        Position() = default;
        bool IsEnd() const { return m_at.index() == 0; }
        bool operator==(const Position&) const = default;

      private:
        friend class RecordMap;
        template <class Place>
        explicit Position(Place at) : m_at(at) {}

        // The end, the index of a record of the file, or an entry of the second map.
        std::variant<std::monostate, std::size_t, Own::const_iterator> m_at;
    };

    // Replaces everything by the content of a file.
    void Load(FileBytes bytes);
    // Erases all records and the carried lines that belong to them; other carried lines stay.
    void Clear() noexcept;

    Position Find(std::string_view nickname) const;
    Position First() const { return FirstOf(0, m_own.begin()); }
    Position Next(const Position& position) const;
    std::string_view KeyAt(const Position& position) const;
    // The record at a position, which the map owns. An unchanged one may only be read and is valid
    // until the next RecordAt.
    NicknameRecord* RecordAt(const Position& position);

    // Makes the record changeable, and valid as long as its entry.
    Position MakeChangeable(const Position& position);
    // Takes the record over under a nickname that is not in the map.
    Position Insert(std::string_view nickname, std::unique_ptr<NicknameRecord>&& record);
    // Moves a changeable record, and what belongs to it, to a nickname that is not in the map.
    Position Rename(const Position& position, std::string_view nickname);
    // Gives the entry behind the erased one.
    Position Erase(const Position& position) noexcept;

    // Writes a nickname file: the records in their order and normal form, then the carried lines.
    // Reading it gives the same map, and writing that map the same bytes. Ends with the first
    // failure of the sink.
    platform::Status Write(const ByteSink& sink) const;

  private:
    Position FirstOf(std::size_t index, Own::const_iterator own) const;

    FileRecords m_file;
    std::vector<bool> m_gone;  // by place among the file's records
    Own m_own;
    CarriedUnits m_carried;
    NicknameRecord m_read;  // what RecordAt made of a record of the file
};

}  // namespace addressbook
