#include "addressbook/nickname_record.h"

#include <algorithm>
#include <cstring>

#include "platform/kvutil/kvutil.h"

void NicknameRecord::SetNickname(std::string_view nickname) {
    std::memset(szNickname, 0, sizeof szNickname);
    nickname = nickname.substr(0, nickname.find('\0'));
    std::memcpy(szNickname, nickname.data(), nickname.size());
}

namespace addressbook {

namespace {

struct TextMember {
    ContactField field;
    CString NicknameRecord::*text;
    std::string_view RecordText::*shown;
};

constexpr TextMember kTexts[] = {
    {ContactField::kName, &NicknameRecord::csName, &RecordText::name},
    {ContactField::kAddress, &NicknameRecord::csAddress, &RecordText::address},
    {ContactField::kPhone, &NicknameRecord::csPhone, &RecordText::phone},
    {ContactField::kFax, &NicknameRecord::csFax, &RecordText::fax},
    {ContactField::kNote, &NicknameRecord::csNote, &RecordText::note},
};

}  // namespace

void RecordText::Clear() {
    for (const auto& member : kTexts) this->*member.shown = {};
    mails.clear();
}

bool RecordText::HasNoteContent() const {
    return std::ranges::any_of(kTexts,
                               [&](const auto& member) { return !(this->*member.shown).empty(); });
}

void CopyText(const RecordText& text, NicknameRecord& record) {
    for (const auto& member : kTexts) record.*member.text = text.*member.shown;
    for (const auto mail : text.mails) record.arrEmail.Add(mail);
}

void ShowText(const NicknameRecord& record, RecordText& text) {
    for (const auto& member : kTexts) text.*member.shown = (record.*member.text).Str();
    text.mails.clear();
    for (const auto& mail : record.arrEmail) text.mails.push_back(mail.Str());
}

CString NicknameRecord::*TextOf(ContactField field) {
    const auto* const found = std::ranges::find(kTexts, field, &TextMember::field);
    return found != std::end(kTexts) ? found->text : nullptr;
}

std::optional<std::string> ChangeMarker(const NicknameRecord& record) {
    std::string text;
    for (const auto& member : kTexts) text += (record.*member.text).Str();
    const auto nicknameSize = std::strlen(record.szNickname);
    // Hosts have stored markers with this byte in them.
    const auto markAt = text.size();
    for (const auto& address : record.arrEmail) text += address.Str();
    if (text.empty() && nicknameSize == 0) return std::nullopt;
    text.insert(markAt, 1, static_cast<char>(nicknameSize));
    unsigned int sum = 0;
    ComputeCheckSum(reinterpret_cast<unsigned char*>(text.data()), static_cast<int>(text.size()),
                    sum, 1);
    return std::to_string(static_cast<int>(sum));
}

}  // namespace addressbook
