#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/vcard/content_line.h"

namespace host::vcard {

// Where and why a vCard cannot be read.
struct CardError {
    std::size_t line = 0;  // from 1
    std::string what;
};

// A vCard 3.0 or 4.0 that gives back every byte of what nobody changed.
class Card {
  public:
    // An empty card of version 4.0.
    static Card Create(std::string_view uid);
    // One vCard, with nothing but blank lines around it. On failure the card is left as it was.
    std::optional<CardError> Parse(std::string_view bytes);
    std::string Serialise() const;

    const std::vector<Property>& Properties() const { return m_properties; }
    // The value of the first property of that name; empty if there is none.
    std::string_view Value(std::string_view name) const;
    bool IsVersion4() const { return Value("VERSION") == "4.0"; }

    // Writes a property of this card anew from its parts.
    void Rewrite(std::size_t index, Property property);
    // Adds it behind the last one; gives its index.
    std::size_t Append(Property property);
    void Remove(std::size_t index);

  private:
    std::string Write(const Property& property) const;

    std::vector<Property> m_properties;
    std::string m_lineEnd = "\r\n";
};

}  // namespace host::vcard
