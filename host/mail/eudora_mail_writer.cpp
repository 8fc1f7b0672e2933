#include "host/mail/eudora_mail_writer.h"

#include <algorithm>
#include <utility>

#include "frame/interface/field_ids.h"
#include "host/base/exit_code.h"
#include "host/base/native_path.h"
#include "host/eudora/windows_path.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/system.h"

namespace host::mail {

namespace {

constexpr const char* kNobodyNamed = "undisclosed-recipients";

platform::Result<std::string> AttachmentList(const std::vector<NewAttachment>& attachments) {
    CArray<CRAttachmentInfo> list;
    for (const NewAttachment& attachment : attachments) {
        const auto path = eudora::ToWindowsPath(attachment.path);
        if (!path) return base::Failed("no drive leads to the file " + attachment.path);
        CRAttachmentInfo info;
        info.dwInfoFlag = 1;
        info.bDeleteSource = 1;
        info.csDisplayName = attachment.name;
        info.csFileName = attachment.copyName;
        info.csFilePath = *path;
        list.Add(info);
    }
    CString text;
    if (AttachmentInfoToStr(list, text) != RRC_OK) {
        return base::Failed("the list of attachments cannot be told");
    }
    return text.Str();
}

// A comma separates, so an address that holds one would become two.
bool HasComma(const std::vector<Recipient>& recipients) {
    return std::ranges::any_of(recipients, [](const Recipient& one) {
        return one.address.find(',') != std::string::npos;
    });
}

}  // namespace

platform::Status EudoraMailWriter::SetTexts(const NewMail& mail, bool isOutgoing) {
    const auto recipients = isOutgoing ? OutgoingRecipients : StoredRecipients;
    const std::string to = recipients(mail.to);
    const std::pair<MailField, std::string> texts[] = {
        {MailField::kFrom, mail.from},
        {MailField::kTo, to.empty() && !isOutgoing ? kNobodyNamed : to},
        {MailField::kCc, recipients(mail.cc)},
        {MailField::kBcc, recipients(mail.bcc)},
        {MailField::kSubject, mail.subject},
        {MailField::kBody, mail.body},
        {MailField::kMessageId, mail.messageId}};
    for (const auto& [field, text] : texts) {
        if (text.empty()) continue;
        if (auto set = m_session.SetText(FieldId(field), text); !set) return set;
    }
    return {};
}

// The translator takes each file away that it could copy, and tells of no other.
platform::Status EudoraMailWriter::SetAttachments(const NewMail& mail) {
    if (mail.attachments.empty()) return {};
    const auto list = AttachmentList(mail.attachments);
    if (!list) return list.Error();
    if (auto set = m_session.SetText(FieldId(MailField::kAttachment), *list); !set) return set;
    for (const NewAttachment& attachment : mail.attachments) {
        if (!platform::NativeFiles().Exists(attachment.path)) continue;
        return base::Failed("the attachment " + base::ToUtf8(attachment.name) +
                            " cannot be stored");
    }
    return {};
}

platform::Status EudoraMailWriter::Fill(const NewMail& mail, std::uint32_t status) {
    std::vector<translator::TextValue> shown;
    if (!mail.from.empty()) shown.push_back({FieldId(MailField::kFrom), mail.from});
    const std::string statusField = FieldId(MailField::kStatus);
    const auto number = static_cast<std::int32_t>(status);
    const auto verdict = m_session.Check(shown, {{statusField, number}});
    if (!verdict) return verdict.Error();
    if (!verdict->ok) {
        std::string why = "Eudora's translator refuses the mail";
        for (const std::string& message : verdict->messages) why += ": " + message;
        return base::Failed(why);
    }
    if (auto begun = m_session.BeginAdd(); !begun) return begun;
    if (auto set = m_session.SetNumber(statusField, number); !set) return set;
    if (auto set = SetTexts(mail, status == kStatusToSend); !set) return set;
    if (!mail.date) return SetAttachments(mail);
    if (auto set = m_session.SetDate(FieldId(MailField::kDate), *mail.date); !set) return set;
    return SetAttachments(mail);
}

platform::Result<MailHead> EudoraMailWriter::Add(const NewMail& mail, std::uint32_t status) {
    if (auto filled = Fill(mail, status); !filled) return filled.Error();
    auto stored = m_session.StoreWithMarker();
    if (!stored) return stored.Error();
    m_added.push_back(stored->id);
    return MailHead{std::move(stored->id), std::move(stored->modifiedInfo)};
}

platform::Status EudoraMailWriter::AddOutgoing(const NewMail& mail) {
    if (mail.to.empty() && mail.cc.empty() && mail.bcc.empty()) {
        return base::Failed("the mail names no recipient");
    }
    if (HasComma(mail.to) || HasComma(mail.cc) || HasComma(mail.bcc)) {
        return base::Failed("the mail has a recipient with a comma in the address");
    }
    if (auto filled = Fill(mail, kStatusToSend); !filled) return filled;
    const auto stored = m_session.StoreWithMarker();
    return stored ? platform::Status() : platform::Status(stored.Error());
}

platform::Status EudoraMailWriter::SetStatus(const std::string& id, std::uint32_t status) {
    if (auto begun = m_session.BeginEdit(id); !begun) return begun;
    auto set = m_session.SetNumber(FieldId(MailField::kStatus), static_cast<std::int32_t>(status));
    if (!set) return set;
    const auto stored = m_session.StoreWithMarker();
    return stored ? platform::Status() : platform::Status(stored.Error());
}

platform::Status EudoraMailWriter::Remove(const std::string& id) {
    std::erase(m_added, id);
    return m_session.Delete(id);
}

platform::Status EudoraMailWriter::Finish() {
    m_finished = std::exchange(m_added, {});
    return m_session.Close();
}

platform::Result<std::vector<std::string>> EudoraMailWriter::Missing() {
    EudoraMails mails(m_session, 0);
    std::vector<std::string> missing;
    for (const std::string& id : m_finished) {
        const auto found = mails.GoTo(id);
        if (!found) return found.Error();
        if (!*found) missing.push_back(id);
    }
    return missing;
}

}  // namespace host::mail
