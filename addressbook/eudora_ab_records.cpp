#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "addressbook/eudora_ab.h"
#include "addressbook/field_text.h"
#include "addressbook/token_scan.h"
#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/path.h"

using addressbook::CopyFieldText;
using addressbook::CopyMode;

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

RRETURNCODE CEudoraAB::SetRecordField(LPCTSTR fieldId, std::string_view value) {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    const int number = std::atoi(fieldId);
    if (number < 1 || number > 7) return RRC_OK;
    MakeChangeable();
    auto& record = *m_pCurrent;
    std::string text;
    switch (number) {
        case 1:
            CopyFieldText(text, value, CopyMode::kFirstLine);
            SetNickname(addressbook::CutNickname(text, CodePage()));
            break;
        case 2:
            CopyFieldText(record.csName.Str(), value, CopyMode::kFirstLine);
            break;
        case 3:
            CopyFieldText(record.csAddress.Str(), value, CopyMode::kWhole);
            break;
        case 4:
            CopyFieldText(record.csPhone.Str(), value, CopyMode::kFirstLine);
            break;
        case 5:
            CopyFieldText(record.csFax.Str(), value, CopyMode::kFirstLine);
            break;
        case 6:
            CopyFieldText(text, value, CopyMode::kFirstLine);
            if (!record.arrEmail.IsEmpty()) {
                record.arrEmail.SetAt(0, text);
            } else if (!text.empty()) {
                record.arrEmail.Add(text);
            }
            break;
        default:
            CopyFieldText(record.csNote.Str(), value, CopyMode::kWhole);
            break;
    }
    return RRC_OK;
}

RRETURNCODE CEudoraAB::GetRecordField(int number, CString& out) {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    const auto& record = *m_pCurrent;
    switch (number) {
        case 1:
            out = record.szNickname;
            break;
        case 2:
            out = record.csName;
            break;
        case 3:
            out = record.csAddress;
            break;
        case 4:
            out = record.csPhone;
            break;
        case 5:
            out = record.csFax;
            break;
        case 6:
            if (!record.arrEmail.IsEmpty()) out = record.arrEmail.GetAt(0);
            break;
        case 7:
            out = record.csNote;
            break;
        default:
            break;
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

RRETURNCODE CEudoraAB::StoreRecord() {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    if (m_pCurrent->szNickname[0] == '\0') {
        CString name = m_pCurrent->csName;
        FindReplace(name, ",", " ", -1);
        const auto trimmed = addressbook::Trimmed(name.Str());
        const auto size =
            platform::WholeCharacterPrefix(trimmed, addressbook::kMaxNickname, CodePage());
        if (size > 0) MakeChangeable();
        SetNickname(trimmed.substr(0, size));
    }
    if (IsNew()) return StoreNew();
    const std::string nickname = m_pCurrent->szNickname;
    if (!Seek(nickname)) {
        m_home = m_mapRecords.Rename(m_home, nickname);
        m_pCurrent = m_mapRecords.RecordAt(m_home);
    }
    m_csCurrentKey = nickname;
    return RRC_OK;
}

RRETURNCODE CEudoraAB::StoreNew() {
    constexpr int kLastNumber = 998;
    const std::string base = m_pCurrent->szNickname;
    std::string nickname = base;
    for (int number = 1; Seek(nickname); ++number) {
        if (number > kLastNumber) {
            m_pCurrent = nullptr;
            m_new.reset();
            return RRC_FAILED;
        }
        const auto digits = std::to_string(number);
        const auto room = addressbook::kMaxNickname - digits.size();
        nickname = base.substr(0, platform::WholeCharacterPrefix(base, room, CodePage())) + digits;
    }
    SetNickname(nickname);
    m_home = m_mapRecords.Insert(nickname, std::move(m_new));
    m_nRecordMode = kEdited;
    m_csCurrentKey = nickname;
    return RRC_OK;
}

RRETURNCODE CEudoraAB::RemoveRecord(std::string_view nickname) {
    if (FindRecord(nickname) != RRC_OK) return RRC_FAILED;
    return RemoveRecord();
}

RRETURNCODE CEudoraAB::RemoveRecord() {
    if (m_pCurrent == nullptr || m_csCurrentKey.IsEmpty()) return RRC_OK;
    const bool wasNew = IsNew();
    m_pCurrent = nullptr;
    m_new.reset();
    if (wasNew) return RRC_OK;
    const auto place = m_itCurrent.IsEnd() ? m_mapRecords.Find(m_csCurrentKey.Str()) : m_itCurrent;
    if (!place.IsEnd()) m_itCurrent = m_mapRecords.Erase(place);
    return RRC_OK;
}

void CEudoraAB::ClearRecords() {
    m_pCurrent = nullptr;
    m_new.reset();
    m_itCurrent = {};
    m_home = {};
    m_mapRecords.Clear();
}

bool CEudoraAB::Seek(std::string_view nickname) {
    m_csCurrentKey.Empty();
    m_itCurrent = m_mapRecords.Find(nickname);
    if (m_itCurrent.IsEnd()) return false;
    m_csCurrentKey = nickname;
    return true;
}

void CEudoraAB::MakeCurrent() {
    m_new.reset();
    m_home = m_itCurrent;
    m_pCurrent = m_mapRecords.RecordAt(m_itCurrent);
    m_csCurrentKey = m_mapRecords.KeyAt(m_itCurrent);
}

RRETURNCODE CEudoraAB::FindRecord(std::string_view nickname) {
    if (!Seek(nickname)) return RRC_NONE;
    MakeCurrent();
    return RRC_OK;
}

RRETURNCODE CEudoraAB::FirstRecord() {
    m_itCurrent = m_mapRecords.First();
    if (m_itCurrent.IsEnd()) return RRC_EOF;
    MakeCurrent();
    return RRC_OK;
}

RRETURNCODE CEudoraAB::NextRecord() {
    m_itCurrent = m_mapRecords.Next(m_itCurrent);
    if (m_itCurrent.IsEnd()) return RRC_EOF;
    MakeCurrent();
    return RRC_OK;
}
