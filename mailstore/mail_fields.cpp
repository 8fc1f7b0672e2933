// The eleven fields of a mail, and what the host receives for each.
#include <cstdlib>
#include <cstring>
#include <new>

#include "frame/guard.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_body.h"
#include "mailstore/mail_field_ids.h"
#include "mailstore/mail_fields_date.h"
#include "mailstore/mail_status.h"

using frame::Guarded;
using namespace mailstore;

namespace {

struct FieldRow {
    int id;
    int stringId;
    const char* name;
    int type;
    std::uint32_t tag;
};

constexpr FieldRow kFields[] = {
    {kFromField, 41, "From", kFieldText, 0x2BD},
    {kToField, 42, "To", kFieldText, 0x800002BE},
    {kCcField, 43, "cc", kFieldText, 0x2BF},
    {kBccField, 44, "bcc", kFieldText, 0x2C0},
    {kSubjectField, 45, "Subject", kFieldText, 0x14},
    {kDateField, 46, "Date", kFieldDateLast, 0x800002C2},
    {kBodyField, 47, "Body", kFieldText, 0x15},
    {kStatusField, 0, "MailStatus", kFieldInteger, 0x080002C6},
    {kMessageIdField, 0, "MessageId", kFieldText, 0x080002C7},
    {kSizeField, 0, "Size", kFieldInteger, 0x080002C3},
    {kAttachmentField, 0, "Attachment", kFieldText, 0x0800001F},
};

constexpr unsigned kMsgNoMemory = 20, kMsgInvalid = 58, kMsgInvalidDate = 75;
constexpr long kStrTrailerMarker = 77;

// A field of the current message, as CMapi hands it out; gives back what is ours to give back.
class RawField {
  public:
    RawField(CMapi& mapi, int field) : m_isOwned(IsOwned(field)) {
        mapi.GetMailField(field, m_data);
    }
    ~RawField() {
        if (m_isOwned) delete[] Text();
    }
    RawField(const RawField&) = delete;
    RawField& operator=(const RawField&) = delete;

    char* Text() const { return static_cast<char*>(m_data); }

  private:
    static bool IsOwned(int field) { return field >= kToField && field <= kBccField; }

    void* m_data = nullptr;
    bool m_isOwned;
};

std::size_t LengthOf(const char* text) {
    return text != nullptr ? std::strlen(text) : 0;
}

RRETURNCODE GiveNumber(std::size_t number, void* pCell) {
    *static_cast<std::int32_t*>(pCell) = static_cast<std::int32_t>(number);
    return RRC_OK;
}

void LogIds(const mailstore::IdMap& messageIds) {
    messageIds.ForEach([](std::string_view indexId, std::string_view messageId) {
        KV_LOG(1, "- csMessageID = %s, csIndexID = %s\n", std::string(messageId).c_str(),
               std::string(indexId).c_str());
    });
}

}  // namespace

RRETURNCODE CREudoraMail::BuildFieldList() {
    return Guarded("BuildFieldList", [&] {
        m_appInfo.m_fields.RemoveAll();
        for (const FieldRow& row : kFields) {
            CREudoraField field;
            field.Set(std::to_string(row.id).c_str(), row.id, row.stringId, row.name, row.type,
                      row.tag, false);
            m_appInfo.m_fields.Add(field);
        }
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("GetField", [&]() -> RRETURNCODE {
        const CString name(pszFieldId);
        KV_LOG(5, "Enter : CREudoraMail::GetField , Field Name = [%s]\n", name.Str().c_str());
        const int field = std::atoi(name);
        if (field < kFromField || field > kMessageIdField) return RRC_OK;
        if (field == kMessageIdField) return GiveMessageId(*static_cast<char**>(pCell));
        if (field == kAttachmentField) return GiveAttachments(*static_cast<char**>(pCell));
        MapiMessage* message = nullptr;
        if (Mapi().GetCurrentMessage(message) != 1) return InvalidMessage();
        return GiveField(field, *message, pCell);
    });
}

RRETURNCODE CREudoraMail::GiveField(int field, const MapiMessage& message, void* pCell) {
    switch (field) {
        case kBodyField:
            return GiveBody(message, *static_cast<char**>(pCell));
        case kDateField:
            return GiveDate(message.lpszDateReceived, *static_cast<double*>(pCell));
        // Numbers need no memory: an update whose record is queued must not fail for want of it.
        case kSizeField:
            return GiveNumber(LengthOf(message.lpszNoteText), pCell);
        case kStatusField:
            return GiveNumber(StatusOfFlags(message.flFlags), pCell);
        default:
            return GiveText(RawField(Mapi(), field).Text(), *static_cast<char**>(pCell));
    }
}

RRETURNCODE CREudoraMail::GiveText(const char* text, char*& cell) {
    cell = nullptr;
    if (text == nullptr || AllocVornString(cell, text) == RRC_OK) return RRC_OK;
    KV_LOG(1, "CREudoraMail::GetField : Insufficient memory\n");
    Util().AddError(kMsgNoMemory);
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::GiveDate(const char* text, double& cell) {
    cell = kNoDate;
    if (text == nullptr) return RRC_OK;
    if (const auto date = mailstore::ParseDate(text)) {
        cell = *date;
        return RRC_OK;
    }
    KV_LOG(1, "Invalid Date time in CREudoraMail::GetField\n");
    Util().AddError(kMsgInvalidDate);
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::GiveBody(const MapiMessage& message, char*& cell) {
    if (message.lpszNoteText == nullptr) {
        cell = nullptr;
        return RRC_OK;
    }
    try {
        std::string body =
            mailstore::ExpandLineEnds(mailstore::StripFlowedMarks(message.lpszNoteText));
        if (body.empty()) return RRC_OK;
        if (message.nFileCount != 0) {
            const CString marker = Util().GetString(kStrTrailerMarker);
            body.resize(mailstore::LengthWithoutTrailers(body, message.nFileCount, marker.Str()));
        }
        return AllocVornString(cell, body.c_str()) == RRC_OK ? RRC_OK : InvalidMessage();
    } catch (const std::bad_alloc&) {
        return InvalidMessage();
    }
}

RRETURNCODE CREudoraMail::GiveAttachments(char*& cell) {
    CString list;
    const RRETURNCODE code = GetAttachments(list);
    return code == RRC_OK ? GiveText(list, cell) : code;
}

RRETURNCODE CREudoraMail::GiveMessageId(char*& cell) {
    const std::string indexId = Mapi().MsgID();
    KV_LOG(1, "pData = %s\n", indexId.c_str());
    if (const auto found = m_mapIndexIDToMessageID.Find(indexId)) {
        const std::string messageId(*found);
        KV_LOG(1, "*** GetField(EMAIL_MESSAGEID): pData = %s, csMsgID = %s\n", indexId.c_str(),
               messageId.c_str());
        return GiveText(messageId.c_str(), cell);
    }
    if (g_bEnableLog != 0) LogIds(m_mapIndexIDToMessageID);
    KV_LOG(1, "Invalid Index Id in  CREudoraMail::GetField\n");
    Util().AddError(kMsgInvalid);
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::InvalidMessage() {
    KV_LOG(1, "Invalid Message Pointer in CREudoraMail::GetField\n");
    Util().AddError(kMsgInvalid);
    return RRC_FAILED;
}
