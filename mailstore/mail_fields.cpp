// The eleven fields of a mail, and what the host receives for each.
#include <cstring>
#include <new>
#include <optional>

#include "frame/guard.h"
#include "frame/interface/field_ids.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/mail_body.h"
#include "mailstore/mail_fields_date.h"
#include "mailstore/mail_status.h"

using frame::Guarded;
using frame::StringId;
using namespace mailstore;

namespace {

struct FieldRow {
    MailField id;
    std::optional<StringId> shown;
    const char* name;
    int type;
    std::uint32_t tag;
};

constexpr FieldRow kFields[] = {
    {MailField::kFrom, StringId::kMailFrom, "From", kFieldText, 0x2BD},
    {MailField::kTo, StringId::kMailTo, "To", kFieldText, 0x800002BE},
    {MailField::kCc, StringId::kMailCc, "cc", kFieldText, 0x2BF},
    {MailField::kBcc, StringId::kMailBcc, "bcc", kFieldText, 0x2C0},
    {MailField::kSubject, StringId::kMailSubject, "Subject", kFieldText, 0x14},
    {MailField::kDate, StringId::kMailDate, "Date", kFieldDateLast, 0x800002C2},
    {MailField::kBody, StringId::kMailBody, "Body", kFieldText, 0x15},
    {MailField::kStatus, {}, "MailStatus", kFieldInteger, 0x080002C6},
    {MailField::kMessageId, {}, "MessageId", kFieldText, 0x080002C7},
    {MailField::kSize, {}, "Size", kFieldInteger, 0x080002C3},
    {MailField::kAttachment, {}, "Attachment", kFieldText, 0x0800001F},
};

// A field of the current message, as CMapi hands it out; gives back what is ours to give back.
class RawField {
  public:
    RawField(CMapi& mapi, MailField field) : m_isOwned(IsOwned(field)) {
        mapi.GetMailField(field, m_data);
    }
    ~RawField() {
        if (m_isOwned) delete[] Text();
    }
    RawField(const RawField&) = delete;
    RawField& operator=(const RawField&) = delete;

    char* Text() const { return static_cast<char*>(m_data); }

  private:
    static bool IsOwned(MailField field) {
        return field >= MailField::kTo && field <= MailField::kBcc;
    }

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
            const auto stringId = row.shown ? static_cast<std::int32_t>(*row.shown) : 0;
            field.Set(FieldId(row.id).c_str(), static_cast<std::int32_t>(row.id), stringId,
                      row.name, row.type, row.tag, false);
            m_appInfo.m_fields.Add(field);
        }
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::GetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("GetField", [&]() -> RRETURNCODE {
        const CString name(pszFieldId);
        KV_LOG(5, "Enter : CREudoraMail::GetField , Field Name = [%s]\n", name.Str().c_str());
        const auto field = FieldOfId<MailField>(pszFieldId);
        if (field < MailField::kFrom || field > MailField::kMessageId) return RRC_OK;
        if (field == MailField::kMessageId) return GiveMessageId(*static_cast<char**>(pCell));
        if (field == MailField::kAttachment) return GiveAttachments(*static_cast<char**>(pCell));
        MapiMessage* message = nullptr;
        if (Mapi().GetCurrentMessage(message) != 1) return InvalidMessage();
        return GiveField(field, *message, pCell);
    });
}

RRETURNCODE CREudoraMail::GiveField(MailField field, const MapiMessage& message, void* pCell) {
    switch (field) {
        case MailField::kBody:
            return GiveBody(message, *static_cast<char**>(pCell));
        case MailField::kDate:
            return GiveDate(message.lpszDateReceived, *static_cast<double*>(pCell));
        // Numbers need no memory: an update whose record is queued must not fail for want of it.
        case MailField::kSize:
            return GiveNumber(LengthOf(message.lpszNoteText), pCell);
        case MailField::kStatus:
            return GiveNumber(StatusOfFlags(message.flFlags), pCell);
        default:
            return GiveText(RawField(Mapi(), field).Text(), *static_cast<char**>(pCell));
    }
}

RRETURNCODE CREudoraMail::GiveText(const char* text, char*& cell) {
    cell = nullptr;
    if (text == nullptr || AllocVornString(cell, text) == RRC_OK) return RRC_OK;
    KV_LOG(1, "CREudoraMail::GetField : Insufficient memory\n");
    Util().AddError(StringId::kNoMemory);
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
    Util().AddError(StringId::kInvalidDate);
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
            const CString marker = Util().GetString(StringId::kAttachmentMark);
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
    Util().AddError(StringId::kInvalidRecord);
    return RRC_FAILED;
}

RRETURNCODE CREudoraMail::InvalidMessage() {
    KV_LOG(1, "Invalid Message Pointer in CREudoraMail::GetField\n");
    Util().AddError(StringId::kInvalidRecord);
    return RRC_FAILED;
}
