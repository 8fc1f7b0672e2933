#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "addressbook/record_text.h"
#include "frame/interface/field_ids.h"
#include "platform/mfc/collections.h"

// One contact of a nickname file. Texts are bytes in the system code page; byte 0x03 inside them
// stands for a line break.
struct NicknameRecord {
    char szNickname[addressbook::kMaxNickname + 1] = {};  // with the closing zero
    CString csName;
    CString csAddress;
    CStringArray arrEmail;  // in the order of the alias line; the host sees the first
    CString csPhone;
    CString csFax;
    CString csNote;

    // A zero byte ends the nickname, which must fit.
    void SetNickname(std::string_view nickname);
};

namespace addressbook {

// The record of an entry; `leftover` gets what the record cannot hold.
NicknameRecord ReadRecord(const Entry& entry, Leftover& leftover);
// The texts of a record as views, valid until it changes.
void ShowText(const NicknameRecord& record, RecordText& text);

// The member with the field's text; null for the nickname, the e-mail addresses and no field.
CString NicknameRecord::*TextOf(ContactField field);

// The decimal text of a check sum over all texts and the length of the nickname; nothing for an
// empty record.
std::optional<std::string> ChangeMarker(const NicknameRecord& record);

}  // namespace addressbook
