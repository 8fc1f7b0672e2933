#include "mailstore/mail_fields.h"

#include <new>
#include <optional>

#include "mailstore/draft.h"
#include "mailstore/eudora_access.h"
#include "mailstore/mail_date.h"
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
    return Fail(util, StringId::kInvalidDate, "Invalid Date time in CREudoraMail::GetField\n");
}

// An empty body leaves the cell as it is.
RRETURNCODE GiveBody(CEudoraTransUtil& util, const MapiMessage& message, char*& cell) {
    if (message.lpszNoteText == nullptr) {
        cell = nullptr;
        return RRC_OK;
    }
    try {
        std::string body = BodyOf(message.lpszNoteText);
        if (body.empty()) return RRC_OK;
        if (message.nFileCount != 0) {
            const CString mark = util.GetString(StringId::kAttachmentMark);
            body.resize(LengthWithoutTrailers(body, message.nFileCount, mark.Str()));
        }
        if (AllocVornString(cell, body.c_str()) == RRC_OK) return RRC_OK;
    } catch (const std::bad_alloc&) {
        // As below.
    }
    return FailOfNoMail(util);
}

}  // namespace

void BuildFieldList(CREudoraFieldArray& fields) {
    fields.RemoveAll();
    for (const FieldRow& row : kFields) {
        const auto stringId = row.shown ? static_cast<std::int32_t>(*row.shown) : 0;
        fields.Add({FieldId(row.id), static_cast<std::int32_t>(row.id), stringId, row.name,
                    row.type, row.tag});
    }
}

std::uint32_t StatusOfFlags(std::uint32_t flags) {
    if ((flags & mapi::kSent) != 0) return kStatusSent;
    return (flags & mapi::kUnread) != 0 ? kStatusUnread : kStatusRead;
}

std::string BodyOf(std::string_view note) {
    const std::string text = text::Replaced(note, "<x-flowed>", "");
    return text::Replaced(text::Replaced(text, "</x-flowed>", ""), "\n", "\r\n");
}

std::size_t LengthWithoutTrailers(std::string_view text, std::size_t count,
                                  std::string_view marker) {
    constexpr std::string_view kBlankLine = "\r\n\r\n";
    if (marker.empty()) return text.size();
    for (; count > 0; --count) {
        auto found = text.size();
        do {
            if (found == 0) return text.size();
            found = text.rfind(kBlankLine, found - 1);
            if (found == std::string_view::npos) return text.size();
        } while (!text.substr(found + kBlankLine.size()).starts_with(marker));
        text = text.substr(0, found);
    }
    return text.size();
}

RRETURNCODE GiveField(CEudoraTransUtil& util, MailField field, const MapiMessage& message,
                      void* cell) {
    switch (field) {
        case MailField::kDate:
            return GiveDate(util, message.lpszDateReceived, *static_cast<double*>(cell));
        case MailField::kBody:
            return GiveBody(util, message, *static_cast<char**>(cell));
        case MailField::kSize:
            return GiveNumber(mapi::ViewOf(message.lpszNoteText).size(), cell);
        case MailField::kStatus:
            return GiveNumber(StatusOfFlags(message.flFlags), cell);
        default:
            return GiveText(util, util.mapi.MailText(field), *static_cast<char**>(cell));
    }
}

RRETURNCODE GiveText(CEudoraTransUtil& util, const std::optional<std::string>& text, char*& cell) {
    cell = nullptr;
    if (!text || AllocVornString(cell, text->c_str()) == RRC_OK) return RRC_OK;
    return Fail(util, StringId::kNoMemory, "CREudoraMail::GetField : Insufficient memory\n");
}

}  // namespace mailstore
