// Records on their way to Eudora: made, filled, vetted, changed.
#include <charconv>

#include "frame/guard.h"
#include "frame/interface/field_ids.h"
#include "mailbox/toc_records.h"
#include "mailstore/eudora_mail.h"
#include "mailstore/record_text.h"

using frame::Guarded;
using frame::StringId;

namespace {

constexpr std::int32_t kReceived = 1;  // a status with this bit is a received mail's
constexpr unsigned kOutBoxMask = 6;    // statuses of mails that do not stay here
constexpr std::uint32_t kSenderClass = 0xFFFFFFFF;

// A text with bare line feeds gets the system's line ends; one with a return anywhere has its own.
std::string NormalizeLineEnds(std::string_view text) {
    if (text.find('\r') != std::string_view::npos) return std::string(text);
    std::string lines;
    lines.reserve(text.size() + text.size() / 16);
    for (const char letter : text) {
        if (letter == '\n') lines += '\r';
        lines += letter;
    }
    return lines;
}

// Six decimals and a point, whatever the host's locale writes.
std::string DateText(double date) {
    char digits[400];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, date, std::chars_format::fixed, 6).ptr;
    return {digits, end};
}

std::string_view TextOf(void* pCell) {
    const char* text = pCell != nullptr ? *static_cast<char**>(pCell) : nullptr;
    return text != nullptr ? text : "";
}

// An empty text changes nothing.
void SetRecipients(std::string& recipients, std::string_view text) {
    if (!text.empty()) recipients = text;
}

}  // namespace

RRETURNCODE CREudoraMail::IsOkToSetRecord(RWORD, RFIELDCALLBACK pfnGetValue, void* pContext,
                                          BOOL* pbOk) {
    return Guarded("IsOkToSetRecord", [&]() -> RRETURNCODE {
        *pbOk = 0;
        void* cell = nullptr;
        unsigned long type = kFieldInteger;
        BOOL hasField = 0;
        auto code =
            pfnGetValue(pContext, FieldId(MailField::kStatus).c_str(), &cell, &type, &hasField);
        if (code != RRC_OK) return code;
        const auto* status = static_cast<const std::int32_t*>(cell);
        if (status != nullptr && (*status & kReceived) != 0) {
            cell = nullptr;
            type = kFieldText;
            hasField = 0;
            code =
                pfnGetValue(pContext, FieldId(MailField::kFrom).c_str(), &cell, &type, &hasField);
            if (hasField == 1 && TextOf(cell).empty()) {
                KV_LOG(1, "From Address is Empty in CREudoraMail::IsOkToSetRecord\n");
                Util().AddError(StringId::kNoSender);
                return RRC_FAILED;
            }
            if (code != RRC_OK) return code;
        }
        *pbOk = 1;
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::AddNewRecord(RWORD) {
    return Guarded("AddNewRecord", [&] {
        m_bAddNewRecord = 1;
        (void)PrepareForAdd();
        // One that was begun and left is gone; a queued one is its queue's.
        FreeNewMessage();
        Mapi().ClearMsgID();
        // A number given now could be that of a mail that is there.
        if (!m_isIndexed) {
            ReportNamed(StringId::kMailboxUnread, MailboxPath(".mbx"));
            return RRC_FAILED;
        }
        if (CMapi::AllocMessage(m_lpNewMessage) == 0) {
            KV_LOG(1, "Failed to Allocate the memory in CREudoraMail::AddNewRecord\n");
            Util().AddError(StringId::kNoMemory);
            return RRC_FAILED;
        }
        return RRC_OK;
    });
}

RRETURNCODE CREudoraMail::EditRecord() {
    return Guarded("EditRecord", [&] {
        KV_LOG(5, "Enter CREudoraMail::EditRecord\n");
        m_bAddNewRecord = 0;
        Mapi().BeginEdit();
        return PrepareForEdit();
    });
}

RRETURNCODE CREudoraMail::SetField(LPCTSTR pszFieldId, unsigned long*, void* pCell) {
    return Guarded("SetField", [&] {
        const auto field = FieldOfId<MailField>(pszFieldId);
        KV_LOG(5, "CREudoraMail::SetField-%s\n", pszFieldId != nullptr ? pszFieldId : "");
        if (pCell == nullptr) return RRC_OK;
        if (field == MailField::kStatus) {
            SetStatus(*static_cast<std::int32_t*>(pCell));
        } else if (m_bAddNewRecord == 1 && m_lpNewMessage != nullptr) {
            SetNewField(field, pCell);
        }
        return RRC_OK;
    });
}

void CREudoraMail::SetStatus(std::int32_t status) {
    const auto bits = static_cast<std::uint32_t>(status);
    if (m_bAddNewRecord == 1) {
        if (m_lpNewMessage == nullptr) return;
        m_lpNewMessage->flFlags = bits;
        m_bOutBox = (bits & kOutBoxMask) != 0;
        KV_LOG(5, "CREudoraMail::SetField New MailStatus = %x\n", bits);
        return;
    }
    KV_LOG(5, "CREudoraMail::SetField MailStatus = %x\n", bits);
    // Behind a mail that waits to be sent, what happens to be current is another mail.
    if (Mapi().NamesCurrent()) Mapi().SetMailStatus(bits);
}

void CREudoraMail::SetNewField(MailField field, void* pCell) {
    MapiMessage& record = *m_lpNewMessage;
    switch (field) {
        case MailField::kFrom:
            if (record.lpOriginator == nullptr) record.lpOriginator = new MapiRecipDesc{};
            record.lpOriginator->ulRecipClass = kSenderClass;
            return mailstore::Assign(record.lpOriginator->lpszAddress, TextOf(pCell));
        case MailField::kTo:
            return SetRecipients(m_pszTo, TextOf(pCell));
        case MailField::kCc:
            return SetRecipients(m_pszCc, TextOf(pCell));
        case MailField::kBcc:
            return SetRecipients(m_pszBcc, TextOf(pCell));
        case MailField::kSubject:
            return mailstore::Assign(record.lpszSubject, TextOf(pCell));
        case MailField::kDate:
            return mailstore::Assign(record.lpszDateReceived,
                                     DateText(*static_cast<double*>(pCell)));
        case MailField::kBody:
            return mailstore::Assign(record.lpszNoteText, NormalizeLineEnds(TextOf(pCell)));
        case MailField::kAttachment:
            // A failure leaves the mail without the files behind the failed one.
            (void)NewAttachments(std::string(TextOf(pCell)).c_str());
            return;
        case MailField::kMessageId:
            return GiveId(TextOf(pCell));
        default:
            return;
    }
}

// The next number that no mail of the mailbox and no waiting one has. It and the text are kept
// before they count, lest half of them stays.
void CREudoraMail::GiveId(std::string_view messageId) {
    KV_LOG(5, "              m_bAddNewRecord = %d\n", m_bAddNewRecord);
    KV_LOG(5, "CREudoraMail::SetField NewRecord's MessageIdField\n");
    std::uint32_t number = m_dwNextIndexID;
    std::string indexId;
    do {
        indexId = mailbox::IndexIdOf(++number);
    } while (number == 0 || m_idsOfTable.contains(number) || m_mapIndexIDToMessageID.Find(indexId));
    const std::string name(messageId.empty() ? std::string_view(indexId) : messageId);
    m_mapIndexIDToMessageID.Set(indexId, name);
    m_mapMessageIDToIndexID.Set(name, indexId);
    m_dwNextIndexID = number;
    Mapi().SetMsgID(indexId.c_str());
    if (messageId.empty()) {
        KV_LOG(5, "*** SetField(EMAIL_MESSAGEID): csIndexID = %s\n", indexId.c_str());
    } else {
        KV_LOG(5, "*** SetField(EMAIL_MESSAGEID): fldData.pszFld = %s\n", name.c_str());
    }
}
