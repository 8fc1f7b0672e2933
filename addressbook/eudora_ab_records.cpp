#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "addressbook/eudora_ab.h"
#include "addressbook/field_text.h"
#include "addressbook/token_scan.h"
#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "text/double_byte.h"

using addressbook::CopyFieldText;
using addressbook::CopyMode;
using addressbook::RecordMap;

namespace {

// Null for the nickname, the e-mail addresses and what is no field.
CString NicknameRecord::*TextOf(ContactField field) {
    switch (field) {
        case ContactField::kName:
            return &NicknameRecord::csName;
        case ContactField::kAddress:
            return &NicknameRecord::csAddress;
        case ContactField::kPhone:
            return &NicknameRecord::csPhone;
        case ContactField::kFax:
            return &NicknameRecord::csFax;
        case ContactField::kNote:
            return &NicknameRecord::csNote;
        default:
            return nullptr;
    }
}

}  // namespace

RRETURNCODE CEudoraAB::NewRecord() {
    m_pCurrent = nullptr;
    m_new.reset(new (std::nothrow) NicknameRecord);
    if (m_new == nullptr) return RRC_FAILED;
    m_pCurrent = m_new.get();
    m_nRecordMode = kNew;
    return RRC_OK;
}

// A new record that is not stored yet stays a new one.
RRETURNCODE CEudoraAB::BeginEdit() {
    if (!IsNew()) m_nRecordMode = kEdited;
    return RRC_OK;
}

void CEudoraAB::SetNickname(std::string_view nickname) {
    std::memset(m_pCurrent->szNickname, 0, sizeof(m_pCurrent->szNickname));
    nickname = nickname.substr(0, nickname.find('\0'));
    std::memcpy(m_pCurrent->szNickname, nickname.data(), nickname.size());
}

void CEudoraAB::MakeChangeable() {
    if (IsNew()) return;
    const bool isAtPosition = m_itCurrent == m_home;
    m_home = m_mapRecords.MakeChangeable(m_home);
    if (isAtPosition) m_itCurrent = m_home;
    m_pCurrent = m_mapRecords.RecordAt(m_home);
}

RRETURNCODE CEudoraAB::SetRecordField(ContactField field, std::string_view value) {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    if (!IsContactField(field)) return RRC_OK;
    std::string text;
    CopyFieldText(text, value, HasLines(field) ? CopyMode::kWhole : CopyMode::kFirstLine);
    MakeChangeable();
    auto& mails = m_pCurrent->arrEmail;
    if (field == ContactField::kNickname) {
        SetNickname(addressbook::CutNickname(text, CodePage()));
    } else if (field == ContactField::kEmail && !mails.IsEmpty()) {
        mails.SetAt(0, std::move(text));
    } else if (text.empty()) {
        return RRC_OK;
    } else if (field == ContactField::kEmail) {
        mails.Add(std::move(text));
    } else {
        m_pCurrent->*TextOf(field) = std::move(text);
    }
    return RRC_OK;
}

RRETURNCODE CEudoraAB::GetRecordField(ContactField field, CString& out) {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    if (field == ContactField::kNickname) {
        out = m_pCurrent->szNickname;
    } else if (field == ContactField::kEmail) {
        if (!m_pCurrent->arrEmail.IsEmpty()) out = m_pCurrent->arrEmail.GetAt(0);
    } else if (const auto text = TextOf(field)) {
        out = m_pCurrent->*text;
    }
    return RRC_OK;
}

RRETURNCODE CEudoraAB::GetRecordChecksum(CString& out) {
    if (m_pCurrent == nullptr) return RRC_OK;
    const auto& record = *m_pCurrent;
    const auto nicknameSize = std::strlen(record.szNickname);
    std::string text = record.csName.Str() + record.csAddress.Str() + record.csPhone.Str() +
                       record.csFax.Str() + record.csNote.Str();
    // Hosts have stored markers with this byte in them.
    const auto markAt = text.size();
    for (const auto& address : record.arrEmail) text += address.Str();
    if (text.empty() && nicknameSize == 0) return RRC_OK;
    text.insert(markAt, 1, static_cast<char>(nicknameSize));
    unsigned int sum = 0;
    ComputeCheckSum(reinterpret_cast<unsigned char*>(text.data()), static_cast<int>(text.size()),
                    sum, 1);
    char digits[16];
    std::snprintf(digits, sizeof(digits), "%d", static_cast<int>(sum));
    out = digits;
    return RRC_OK;
}

// Everything that can fail comes before the first change.
RRETURNCODE CEudoraAB::StoreRecord() {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    std::string nickname = m_pCurrent->szNickname;
    if (nickname.empty()) nickname = NicknameFromName();
    if (IsNew() && !MakeUnique(nickname)) {
        m_pCurrent = nullptr;
        m_new.reset();
        return RRC_FAILED;
    }
    const auto found = m_mapRecords.Find(nickname);
    CString key(nickname);
    if (IsNew()) {
        m_home = m_mapRecords.Insert(nickname, std::move(m_new));
        m_nRecordMode = kEdited;
    } else if (found.IsEnd()) {
        m_home = m_mapRecords.Rename(m_home, nickname);
    }
    SetNickname(nickname);
    m_itCurrent = found;
    std::swap(m_csCurrentKey, key);
    return RRC_OK;
}

std::string CEudoraAB::NicknameFromName() const {
    std::string name = m_pCurrent->csName.Str();
    std::replace(name.begin(), name.end(), ',', ' ');
    const auto trimmed = addressbook::Trimmed(name);
    const auto size = text::WholeCharacterPrefix(trimmed, addressbook::kMaxNickname, CodePage());
    return std::string(trimmed.substr(0, std::min(size, trimmed.find('\0'))));
}

// Puts a number behind a nickname that is taken; false if none is free.
bool CEudoraAB::MakeUnique(std::string& nickname) const {
    constexpr int kLastNumber = 998;
    const std::string base = nickname;
    for (int number = 1; !m_mapRecords.Find(nickname).IsEnd(); ++number) {
        if (number > kLastNumber) return false;
        const auto digits = std::to_string(number);
        const auto room = addressbook::kMaxNickname - digits.size();
        nickname = base.substr(0, text::WholeCharacterPrefix(base, room, CodePage())) + digits;
    }
    return true;
}

RRETURNCODE CEudoraAB::RemoveRecord(std::string_view nickname) {
    if (FindRecord(nickname) != RRC_OK) return RRC_FAILED;
    return RemoveRecord();
}

RRETURNCODE CEudoraAB::RemoveRecord() noexcept {
    if (m_pCurrent == nullptr || m_csCurrentKey.IsEmpty()) return RRC_OK;
    const bool wasNew = IsNew();
    m_pCurrent = nullptr;
    m_new.reset();
    if (wasNew) return RRC_OK;
    const auto place = m_itCurrent.IsEnd() ? m_mapRecords.Find(m_csCurrentKey.Str()) : m_itCurrent;
    if (!place.IsEnd()) m_itCurrent = m_mapRecords.Erase(place);
    return RRC_OK;
}

void CEudoraAB::ClearRecords() noexcept {
    m_pCurrent = nullptr;
    m_new.reset();
    m_itCurrent = {};
    m_home = {};
    m_mapRecords.Clear();
}

RRETURNCODE CEudoraAB::MakeCurrent(const RecordMap::Position& place) {
    if (place.IsEnd()) {
        m_itCurrent = place;
        return RRC_EOF;
    }
    CString key(m_mapRecords.KeyAt(place));
    m_pCurrent = m_mapRecords.RecordAt(place);
    m_new.reset();
    m_home = m_itCurrent = place;
    std::swap(m_csCurrentKey, key);
    return RRC_OK;
}

RRETURNCODE CEudoraAB::FindRecord(std::string_view nickname) {
    if (MakeCurrent(m_mapRecords.Find(nickname)) == RRC_OK) return RRC_OK;
    m_csCurrentKey.Empty();
    return RRC_NONE;
}

RRETURNCODE CEudoraAB::FirstRecord() {
    return MakeCurrent(m_mapRecords.First());
}

RRETURNCODE CEudoraAB::NextRecord() {
    return MakeCurrent(m_mapRecords.Next(m_itCurrent));
}
