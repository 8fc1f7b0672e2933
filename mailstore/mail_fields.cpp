#include "mailstore/mail_fields.h"

#include <new>
#include <optional>

#include "mailstore/built_record.h"
#include "mailstore/mail_body.h"
#include "mailstore/mail_date.h"
#include "mailstore/mail_status.h"
#include "platform/kvutil/kvutil.h"
#include "text/ascii.h"

namespace mailstore {

namespace {

using frame::StringId;

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

// Numbers need no memory: an update whose record is queued must not fail for want of it.
RRETURNCODE GiveNumber(std::size_t number, void* cell) {
    *static_cast<std::int32_t*>(cell) = static_cast<std::int32_t>(number);
    return RRC_OK;
}

RRETURNCODE GiveDate(CEudoraTransUtil& util, const char* text, double& cell) {
    cell = kNoDate;
    if (text == nullptr) return RRC_OK;
    if (const auto date = ParseDate(text)) {
        cell = *date;
        return RRC_OK;
    }
    KV_LOG(1, "Invalid Date time in CREudoraMail::GetField\n");
    util.AddError(StringId::kInvalidDate);
    return RRC_FAILED;
}

// An empty body leaves the cell as it is.
RRETURNCODE GiveBody(CEudoraTransUtil& util, const MapiMessage& message, char*& cell) {
    if (message.lpszNoteText == nullptr) {
        cell = nullptr;
        return RRC_OK;
    }
    try {
        std::string body = text::Replaced(StripFlowedMarks(message.lpszNoteText), "\n", "\r\n");
        if (body.empty()) return RRC_OK;
        if (message.nFileCount != 0) {
            const CString mark = util.GetString(StringId::kAttachmentMark);
            body.resize(LengthWithoutTrailers(body, message.nFileCount, mark.Str()));
        }
        if (AllocVornString(cell, body.c_str()) == RRC_OK) return RRC_OK;
    } catch (const std::bad_alloc&) {
        // As below.
    }
    return InvalidMessage(util);
}

}  // namespace

void BuildFieldList(CREudoraFieldArray& fields) {
    fields.RemoveAll();
    for (const FieldRow& row : kFields) {
        CREudoraField field;
        const auto stringId = row.shown ? static_cast<std::int32_t>(*row.shown) : 0;
        field.Set(FieldId(row.id).c_str(), static_cast<std::int32_t>(row.id), stringId, row.name,
                  row.type, row.tag, false);
        fields.Add(field);
    }
}

RRETURNCODE GiveField(CEudoraTransUtil& util, MailField field, const MapiMessage& message,
                      void* cell) {
    switch (field) {
        case MailField::kDate:
            return GiveDate(util, message.lpszDateReceived, *static_cast<double*>(cell));
        case MailField::kBody:
            return GiveBody(util, message, *static_cast<char**>(cell));
        case MailField::kSize:
            return GiveNumber(ViewOf(message.lpszNoteText).size(), cell);
        case MailField::kStatus:
            return GiveNumber(StatusOfFlags(message.flFlags), cell);
        default:
            return GiveText(util, util.mapi.MailText(field), *static_cast<char**>(cell));
    }
}

RRETURNCODE GiveText(CEudoraTransUtil& util, const std::optional<std::string>& text, char*& cell) {
    cell = nullptr;
    if (!text || AllocVornString(cell, text->c_str()) == RRC_OK) return RRC_OK;
    KV_LOG(1, "CREudoraMail::GetField : Insufficient memory\n");
    util.AddError(StringId::kNoMemory);
    return RRC_FAILED;
}

RRETURNCODE InvalidMessage(CEudoraTransUtil& util) {
    KV_LOG(1, "Invalid Message Pointer in CREudoraMail::GetField\n");
    util.AddError(StringId::kInvalidRecord);
    return RRC_FAILED;
}

}  // namespace mailstore
