#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "addressbook/record_text.h"

namespace addressbook {

// One or two lines of a nickname file that hold no record and are carried along: a group, a later
// duplicate, an entry with an over-long nickname, a line without a nickname, a leftover.
struct CarriedUnit {
    std::size_t place = 0;        // in the file; gives the order
    std::string_view line, note;  // an empty note: there is none
};

// All of them. A unit without an owner stays for ever; one that belongs to a record follows that
// record when it is renamed and vanishes with it. Texts are parts of the file's bytes, which must
// outlive this object, or are kept here. What throws, for want of memory, has changed nothing.
class CarriedUnits {
  public:
    void Add(const CarriedUnit& unit) { m_free.push_back(unit); }
    void AddOwned(const CarriedUnit& unit, std::string_view owner) {
        m_owned.emplace(std::string(owner), unit);
    }
    // An entry of the owner's nickname that says what the record could not hold, if anything.
    void AddLeftover(std::size_t place, std::string_view owner, const Leftover& leftover);
    // Nothing belongs to `newOwner` yet.
    void Rename(std::string_view owner, std::string_view newOwner);
    void DropOwned(std::string_view owner) noexcept;
    void DropAllOwned() noexcept { m_owned.clear(); }

    // Text that is not part of the file.
    std::string_view Keep(std::string text) { return m_kept.emplace_back(std::move(text)); }

    // In no order.
    std::vector<CarriedUnit> Units() const;

  private:
    std::vector<CarriedUnit> m_free;
    std::multimap<std::string, CarriedUnit, std::less<>> m_owned;
    std::deque<std::string> m_kept;
};

}  // namespace addressbook
