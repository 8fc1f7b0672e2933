#include "fuzz/fuzz.h"
#include "host/vcard/card.h"
#include "host/vcard/card_fields.h"

namespace {

std::string Others(const host::vcard::Card& card) {
    std::string bytes;
    for (const host::vcard::Property& property : card.Properties()) {
        if (property.name.starts_with("X") || property.name == "PHOTO") bytes += property.raw;
    }
    return bytes;
}

}  // namespace

// What parses comes back byte for byte; an edit of every field reads back and leaves unknown
// properties alone.
void Check(std::string_view bytes) {
    host::vcard::Card card;
    if (card.Parse(bytes)) return;
    Require(card.Serialise() == bytes);
    host::base::Contact values = host::vcard::ReadFields(card).contact;
    for (host::base::Field field : host::base::kAllFields) {
        if (values[field].empty()) values[field] = "a;b,c\\d";
    }
    const std::string others = Others(card);
    host::vcard::WriteFields(card, values, host::base::FieldSet::All(), {});
    host::vcard::Card again;
    Require(!again.Parse(card.Serialise()));
    Require(host::vcard::ReadFields(again).contact == values);
    Require(Others(again) == others);
}
