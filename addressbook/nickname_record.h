#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/interface/field_ids.h"
#include "platform/mfc/collections.h"

// One contact of a nickname file. Texts are bytes in the system code page; byte 0x03 inside them
// stands for a line break.
struct NicknameRecord {
    char szNickname[40] = {};  // at most 39 bytes and the closing zero
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

inline constexpr std::size_t kMaxNickname = sizeof(NicknameRecord::szNickname) - 1;  // bytes

// The texts of a record where they lie, in the file or in a NicknameRecord. Meant to be used again
// for one record after the other, so that taking one apart allocates nothing.
struct RecordText {
    std::string_view name, address, phone, fax, note;
    std::vector<std::string_view> mails;
    std::vector<std::string_view> tokens;  // room for the scan of a note line

    void Clear();
    bool HasNoteContent() const;
};

void CopyText(const RecordText& text, NicknameRecord& record);
void ShowText(const NicknameRecord& record, RecordText& text);

// Null for the nickname, the e-mail addresses and what is no field.
CString NicknameRecord::*TextOf(ContactField field);

// The decimal text of a check sum over all texts and the length of the nickname; nothing for a
// record without any.
std::optional<std::string> ChangeMarker(const NicknameRecord& record);

}  // namespace addressbook
