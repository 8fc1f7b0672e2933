#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host::vcard {

struct Parameter {
    std::string name;                 // upper case; empty for a bare value such as TEL;HOME
    std::vector<std::string> values;  // decoded
};

// One logical line of a vCard, as it was read, and taken apart.
struct Property {
    std::string raw;          // its bytes in the file, folds and line end included
    std::string group, name;  // name in upper case; empty for a blank line
    std::vector<Parameter> parameters;
    std::string value;  // unfolded, still escaped

    const Parameter* Find(std::string_view parameterName) const;
    // Whether a TYPE (or a bare parameter) says so, without regard to case.
    bool HasType(std::string_view type) const;
    void RemoveParameter(std::string_view parameterName);
};

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
