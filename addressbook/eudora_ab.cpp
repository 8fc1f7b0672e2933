#include "addressbook/eudora_ab.h"

#include <new>
#include <utility>

#include "addressbook/field_text.h"
#include "addressbook/nickname_file.h"
#include "frame/trans_util.h"
#include "platform/kvutil/kvutil.h"
#include "text/double_byte.h"

using addressbook::RecordMap;
using frame::StringId;

namespace {

void LogFailure(const CString& path, const platform::Failure& failure) {
    KV_LOG(1, "Eudora File [%s] Could not opend in CREudora4::OpenEudoraFile\n",
           path.Str().c_str());
    KV_LOG(1, "%s", failure.Message().c_str());
}

}  // namespace

CEudoraTransUtil& CEudoraAB::Util() const {
    return m_util != nullptr ? *m_util : TransUtil();
}

unsigned CEudoraAB::CodePage() const {
    return Util().system.codePage;
}

RRETURNCODE CEudoraAB::Open(LPCTSTR path) {
    KV_LOG(5, "Enter - CEudoraAB::Open");
    if (m_csFilePath == path) {
        // What is half there must not pass for whole the second time.
        if (m_incomplete) Util().AddError(StringId::kNicknameFileUnread);
        return RRC_OK;
    }
    CString opened(path);
    auto file = addressbook::LoadNicknames(Util().system, opened.Str());
    if (!file) {
        LogFailure(opened, file.Error());
        return RRC_FAILED;
    }
    if (file->readError) {
        KV_LOG(1, "Error While Reading Records in CEudoraAB::GetRecord\n");
        KV_LOG(1, "%s", file->readError->Message().c_str());
        Util().AddError(StringId::kNicknameFileUnread);
    }
    // Nothing can fail any more.
    ClearRecords();
    m_mapRecords = std::move(file->records);
    std::swap(m_csFilePath, opened);
    m_incomplete = file->readError.has_value();
    return RRC_OK;
}

RRETURNCODE CEudoraAB::SaveRecords() {
    KV_LOG(5, "Enter - CREudora4::SaveRecords\n");
    platform::Status status;
    if (m_csFilePath.IsEmpty() || m_incomplete) {
        const auto code =
            m_incomplete ? platform::ErrorCode::kIo : platform::ErrorCode::kInvalidArgument;
        status = platform::Failure{code, m_csFilePath.Str()};
    } else {
        status = addressbook::SaveNicknames(Util().system, m_csFilePath.Str(), m_mapRecords);
    }
    if (status) return RRC_OK;
    LogFailure(m_csFilePath, status.Error());
    Util().AddFileError(status.Error());
    if (m_incomplete) Util().AddError(StringId::kNicknameFileUnread);
    return RRC_FAILED;
}

RRETURNCODE CEudoraAB::NewRecord() {
    m_pCurrent = nullptr;
    m_new.reset(new (std::nothrow) NicknameRecord);
    if (m_new == nullptr) return RRC_FAILED;
    m_pCurrent = m_new.get();
    return RRC_OK;
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
    auto text = addressbook::FieldText(field, value);
    MakeChangeable();
    auto& mails = m_pCurrent->arrEmail;
    if (field == ContactField::kNickname) {
        m_pCurrent->SetNickname(addressbook::CutNickname(text, CodePage()));
    } else if (field == ContactField::kEmail && !mails.IsEmpty()) {
        mails.SetAt(0, std::move(text));
    } else if (text.empty()) {
        return RRC_OK;
    } else if (field == ContactField::kEmail) {
        mails.Add(std::move(text));
    } else {
        m_pCurrent->*addressbook::TextOf(field) = std::move(text);
    }
    return RRC_OK;
}

RRETURNCODE CEudoraAB::GetRecordField(ContactField field, CString& out) const {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    if (field == ContactField::kNickname) {
        out = m_pCurrent->szNickname;
    } else if (field == ContactField::kEmail) {
        if (!m_pCurrent->arrEmail.IsEmpty()) out = m_pCurrent->arrEmail.GetAt(0);
    } else if (const auto text = addressbook::TextOf(field)) {
        out = m_pCurrent->*text;
    }
    return RRC_OK;
}

RRETURNCODE CEudoraAB::GetRecordChecksum(CString& out) const {
    if (m_pCurrent == nullptr) return RRC_OK;
    if (auto marker = addressbook::ChangeMarker(*m_pCurrent)) out = *std::move(marker);
    return RRC_OK;
}

// Everything that can fail comes before the first change.
RRETURNCODE CEudoraAB::StoreRecord() {
    if (m_pCurrent == nullptr) return RRC_FAILED;
    std::string nickname = m_pCurrent->szNickname;
    if (nickname.empty()) {
        nickname = addressbook::NicknameOfName(m_pCurrent->csName.Str(), CodePage());
    }
    if (IsNew() && !MakeUnique(nickname)) {
        m_pCurrent = nullptr;
        m_new.reset();
        return RRC_FAILED;
    }
    const auto found = m_mapRecords.Find(nickname);
    CString key(nickname);
    if (IsNew()) {
        m_home = m_mapRecords.Insert(nickname, std::move(m_new));
    } else if (found.IsEnd()) {
        m_home = m_mapRecords.Rename(m_home, nickname);
    }
    m_pCurrent->SetNickname(nickname);
    m_itCurrent = found;
    std::swap(m_csCurrentKey, key);
    return RRC_OK;
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
