#include "addressbook/nickname_record.h"

namespace addressbook {

void RecordText::Clear() {
    name = address = phone = fax = note = {};
    mails.clear();
}

bool RecordText::HasNoteContent() const {
    return !name.empty() || !address.empty() || !phone.empty() || !fax.empty() || !note.empty();
}

void CopyText(const RecordText& text, NicknameRecord& record) {
    record.csName = text.name;
    record.csAddress = text.address;
    record.csPhone = text.phone;
    record.csFax = text.fax;
    record.csNote = text.note;
    for (const auto mail : text.mails) record.arrEmail.Add(mail);
}

void ShowText(const NicknameRecord& record, RecordText& text) {
    text.Clear();
    text.name = record.csName.Str();
    text.address = record.csAddress.Str();
    text.phone = record.csPhone.Str();
    text.fax = record.csFax.Str();
    text.note = record.csNote.Str();
    for (const auto& mail : record.arrEmail) text.mails.push_back(mail.Str());
}

}  // namespace addressbook
