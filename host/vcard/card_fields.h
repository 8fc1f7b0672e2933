#pragma once

#include <chrono>
#include <string>

#include "host/base/contact.h"
#include "host/vcard/card.h"

// The seven fields of a contact in a vCard (RFC 6350, section 6).
namespace host::vcard {

// The fields of a vCard: NICKNAME, FN (or N), ADR, TEL that is no fax, TEL that is one, EMAIL and
// NOTE. Of several properties of a field the preferred one is it (the lowest PREF, or TYPE=pref),
// among those the one with the value that was seen last, else the first. Values are canonical.
struct CardContent {
    base::Contact contact;
    std::string uid;
    int beyond = 0;        // properties that no field shows: a second phone, a picture, ...
    bool isPerson = true;  // false if KIND is neither individual nor org
};

// Quoted-printable values, and those with CHARSET ISO-8859-1 or WINDOWS-1252, are decoded.
CardContent ReadFields(const Card& card, const base::Contact& seen = {});

// Sets the fields `which`, and N with the name, but for the mark of a copy. REV becomes `now`;
// everything else stays. An empty value removes the property. FN is mandatory: without a name it is
// DisplayName's text, which ReadFields then takes for no name.
void WriteFields(Card& card, const base::Contact& values, base::FieldSet which,
                 std::chrono::system_clock::time_point now, const base::Contact& seen = {});

// Gives the card another UID.
void SetUid(Card& card, const std::string& uid);

}  // namespace host::vcard
