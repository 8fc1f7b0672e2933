#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/vcard/content_line.h"

// vCards as RFC 6350 (4.0), RFC 2426 (3.0) and RFC 2425 have them. Texts are UTF-8 unless a CHARSET
// parameter says otherwise.
namespace host::vcard {

// Where and why a vCard cannot be read.
struct CardError {
    std::size_t line = 0;  // from 1
    std::string what;
    bool isSecondCard = false;  // behind one that is whole
};

// A vCard of version 3.0 or 4.0. Unchanged properties keep every byte, also those that no reader
// understands.
class Card {
  public:
    // A card of version "3.0" or "4.0" with a UID alone and CR LF line ends.
    static Card Create(std::string_view uid, std::string_view version = "4.0");
    // Reads one vCard with nothing but blank lines around it. After a failure the card is as it
    // was.
    std::optional<CardError> Parse(std::string_view bytes);
    // The bytes of the vCard's file.
    std::string Serialise() const;

    // All lines in the order of the file, blank ones included; valid until the card changes.
    const std::vector<Property>& Properties() const { return m_properties; }
    // The value of the first property of that name, still escaped; empty if there is none.
    std::string_view Value(std::string_view name) const;
    bool IsVersion4() const { return Value("VERSION") == "4.0"; }

    // Writes a property of this card anew from its parts.
    void Rewrite(std::size_t index, Property property);
    // Adds it in front of END; gives its index.
    std::size_t Append(Property property);
    void Remove(std::size_t index);

  private:
    std::string Write(const Property& property) const;

    std::vector<Property> m_properties;
    std::string m_lineEnd = "\r\n";
};

}  // namespace host::vcard
