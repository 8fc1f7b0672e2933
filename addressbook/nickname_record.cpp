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

struct TextRow {
    ContactField field;
    CString NicknameRecord::*text;
    Part part;
};

// In the order in which the change marker takes them.
constexpr TextRow kTexts[] = {{ContactField::kName, &NicknameRecord::csName, kName},
                              {ContactField::kAddress, &NicknameRecord::csAddress, kAddress},
                              {ContactField::kPhone, &NicknameRecord::csPhone, kPhone},
                              {ContactField::kFax, &NicknameRecord::csFax, kFax},
                              {ContactField::kNote, &NicknameRecord::csNote, kNote}};

}  // namespace

NicknameRecord ReadRecord(const Entry& entry, Leftover& leftover) {
    RecordText text;
    ParseRecord(entry, text, leftover);
    NicknameRecord record;
    record.SetNickname(entry.head.nickname);
    for (const auto& row : kTexts) record.*row.text = text.parts[row.part];
    for (const auto mail : text.mails) record.arrEmail.Add(mail);
    return record;
}

void ShowText(const NicknameRecord& record, RecordText& text) {
    for (const auto& row : kTexts) text.parts[row.part] = (record.*row.text).Str();
    text.mails.clear();
    for (const auto& mail : record.arrEmail) text.mails.push_back(mail.Str());
}

CString NicknameRecord::*TextOf(ContactField field) {
    const auto* const found = std::ranges::find(kTexts, field, &TextRow::field);
    return found != std::end(kTexts) ? found->text : nullptr;
}

std::optional<std::string> ChangeMarker(const NicknameRecord& record) {
    std::string text;
    for (const auto& row : kTexts) text += (record.*row.text).Str();
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
