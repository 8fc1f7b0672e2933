#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Contacts as both sides of a sync know them. Texts are UTF-8.
namespace host::base {

// The fields of a contact that both sides know, in the order of Eudora's field ids (1 to 7).
enum class Field { kNickname, kName, kAddress, kPhone, kFax, kEmail, kNote };
inline constexpr std::size_t kFieldCount = 7;
inline constexpr std::array<Field, kFieldCount> kAllFields = {
    Field::kNickname, Field::kName,  Field::kAddress, Field::kPhone,
    Field::kFax,      Field::kEmail, Field::kNote};

// The word that reports use.
std::string_view FieldName(Field field);
// Whether its values may have several lines.
constexpr bool HoldsLines(Field field) {
    return field == Field::kAddress || field == Field::kNote;
}

// A set of fields.
class FieldSet {
  public:
    constexpr bool Has(Field field) const { return (m_bits >> static_cast<int>(field)) & 1; }
    constexpr void Add(Field field) {
        m_bits |= static_cast<std::uint8_t>(1u << static_cast<int>(field));
    }
    constexpr void Remove(Field field) {
        m_bits &= static_cast<std::uint8_t>(~(1u << static_cast<int>(field)));
    }
    constexpr bool IsEmpty() const { return m_bits == 0; }
    static constexpr FieldSet All() {
        FieldSet set;
        for (Field field : kAllFields) set.Add(field);
        return set;
    }
    bool operator==(const FieldSet&) const = default;

  private:
    std::uint8_t m_bits = 0;
};

// The values of one contact: UTF-8, lines parted by LF, no white space at either end (see
// Canonical). An absent value is empty.
struct Contact {
    std::array<std::string, kFieldCount> values;

    std::string& operator[](Field field) { return values[static_cast<std::size_t>(field)]; }
    const std::string& operator[](Field field) const {
        return values[static_cast<std::size_t>(field)];
    }
    bool operator==(const Contact&) const = default;
};

// The identity and the state of a contact in a store. The id is the store's own; the marker changes
// whenever the contact does.
struct StoreItem {
    std::string id, marker;
    bool operator==(const StoreItem&) const = default;
};

// The form in which values are compared: CR LF and CR become LF, white space at both ends of each
// line and of the whole goes, and bytes that are no UTF-8 become U+FFFD.
std::string Canonical(std::string_view text);

// Whether a text holds U+FFFD or control characters above ASCII: what bytes of another code page
// become.
bool HasStrangeCharacters(std::string_view text);

// The fields that have a value.
FieldSet NonEmpty(const Contact& contact);
// Those in which the two differ.
FieldSet Differing(const Contact& one, const Contact& other);

// What stands behind the name and the nickname of a copy that keeps the older values of a contact.
inline constexpr std::string_view kOlderMark = " (older)";

// A contact's name in reports: its nickname, else its name, else its e-mail address, else
// `otherwise`.
std::string DisplayName(const Contact& contact, std::string_view otherwise);

// All fields but the nickname as one text, for comparing contacts; empty if all of them are.
std::string BeyondNickname(const Contact& contact);

}  // namespace host::base
