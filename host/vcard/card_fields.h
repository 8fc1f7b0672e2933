#pragma once

#include <chrono>
#include <string>

#include "host/base/contact.h"
#include "host/vcard/card.h"

namespace host::vcard {

// What a vCard says about the seven fields: the first NICKNAME, FN (or N), the first ADR, the
// first TEL that is no fax, the first that is one, the first EMAIL and the first NOTE.
struct CardContent {
    base::Contact contact;
    std::string uid;
    int beyond = 0;        // properties that no field shows: a second phone, a picture, ...
    bool isPerson = true;  // false for groups and the like, which Eudora's address book has not
};

CardContent ReadFields(const Card& card);

// Gives the fields `which` the values of `values` and touches nothing else but N (with the name)
// and REV. An empty value takes the property away; a vCard cannot be without FN, so that an empty
// name shows what DisplayName gives, which ReadFields knows for no name.
void WriteFields(Card& card, const base::Contact& values, base::FieldSet which,
                 std::chrono::system_clock::time_point now);

// Gives the card another UID.
void SetUid(Card& card, const std::string& uid);

}  // namespace host::vcard
