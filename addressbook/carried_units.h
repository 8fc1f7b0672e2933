#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "addressbook/record_text.h"

// What a nickname file holds beside its records (docs/formats/nickname.md). Texts are in the system
// code page.
namespace addressbook {

// One or two lines that hold no record and are kept as they are: a group, a later duplicate, an
// entry with an over-long nickname, a line without a nickname, a leftover.
struct CarriedUnit {
    std::size_t place = 0;        // in the file; gives the order
    std::string_view line, note;  // an empty note: there is none
};

// All units of a file. A unit without an owner always stays. A unit of a record keeps to it when
// the record is renamed and is dropped with it. Texts are parts of the file's bytes, which outlive
// this object, or are kept here. A lack of memory is thrown and changes nothing.
class CarriedUnits {
  public:
    void Add(const CarriedUnit& unit) { m_free.push_back(unit); }
    void AddOwned(const CarriedUnit& unit, std::string_view owner) {
        m_owned.emplace(std::string(owner), unit);
    }
    // Adds an entry under the owner's nickname with what the record cannot hold, if there is any.
    void AddLeftover(std::size_t place, std::string_view owner, const Leftover& leftover);
    // Nothing belongs to `newOwner` yet.
    void Rename(std::string_view owner, std::string_view newOwner);
    void DropOwned(std::string_view owner) noexcept;
    void DropAllOwned() noexcept { m_owned.clear(); }

    // Keeps a text that is not part of the file, and gives a view that lives as long as this
    // object.
    std::string_view Keep(std::string text) { return m_kept.emplace_back(std::move(text)); }

    // In no order.
    std::vector<CarriedUnit> Units() const;

  private:
    std::vector<CarriedUnit> m_free;
    std::multimap<std::string, CarriedUnit, std::less<>> m_owned;
    std::deque<std::string> m_kept;
};

}  // namespace addressbook
