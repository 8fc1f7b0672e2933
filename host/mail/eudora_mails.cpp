#include "host/mail/eudora_mails.h"

#include "host/base/native_path.h"
#include "host/base/out_of_memory.h"
#include "host/eudora/windows_path.h"
#include "host/mail/mail_date.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/code_page.h"

namespace host::mail {

namespace {

// No mail's id: those begin with "0x".
const std::string kNoMail = "none";

bool HasBody(MailParts parts) {
    return parts == MailParts::kAll || parts == MailParts::kWithoutAttachments;
}

bool HasAttachments(MailParts parts) {
    return parts == MailParts::kAll || parts == MailParts::kWithoutBody;
}

// The value, or nothing and the failure among the notes.
template <class T>
std::optional<T> OrNote(platform::Result<T> value, std::vector<std::string>& notes) {
    if (value) return *std::move(value);
    notes.push_back(value.Error().Message());
    return std::nullopt;
}

}  // namespace

EudoraMails::EudoraMails(translator::TranslatorSession& session, unsigned codePage)
    : m_session(session), m_codePage(codePage) {}

platform::Status EudoraMails::Walk(
    const std::function<platform::Result<bool>(const MailHead&)>& visit) {
    std::string last;
    auto found = m_session.MoveFirst();
    while (!found || *found) {
        const MailHead head = HeadOrFault(found);
        // The translator names the mail that it could not read. If it names none, or the one
        // before, it could not find the next.
        if (m_fault && (head.id.empty() || head.id == last)) return *m_fault;
        last = head.id;
        const auto goesOn = visit(head);
        if (!goesOn) return goesOn.Error();
        if (!*goesOn) return {};
        found = m_session.MoveNext();
    }
    return {};
}

MailHead EudoraMails::HeadOrFault(const platform::Result<bool>& reached) {
    auto head = reached ? CurrentHead() : platform::Result<MailHead>(reached.Error());
    if (head) return *std::move(head);
    m_fault = head.Error();
    auto id = m_session.RecordId();
    return {id ? *std::move(id) : std::string(), {}};
}

platform::Status EudoraMails::ReachAny() {
    return Walk([](const MailHead& head) -> platform::Result<bool> { return head.marker.empty(); });
}

platform::Result<bool> EudoraMails::IsGoneBy(const std::string& message) {
    // A mailbox that cannot be read now would give one message for all ids.
    if (auto reached = ReachAny(); !reached) return reached.Error();
    if (m_goneMessage.empty()) {
        const auto none = m_session.GoTo(kNoMail);
        if (auto reached = ReachAny(); !reached) return reached.Error();
        if (!none) m_goneMessage = none.Error().Message();
    }
    return message == m_goneMessage;
}

platform::Result<bool> EudoraMails::GoTo(const std::string& id) {
    m_fault.reset();
    auto found = m_session.GoTo(id);
    if (found) return found;
    const auto gone = IsGoneBy(found.Error().Message());
    if (!gone) return gone.Error();
    if (*gone) return false;
    return found;
}

platform::Result<MailHead> EudoraMails::CurrentHead() {
    m_fault.reset();
    auto id = m_session.RecordId();
    if (!id) return id.Error();
    auto marker = m_session.ModifiedInfo();
    if (!marker) return marker.Error();
    return MailHead{*std::move(id), *std::move(marker)};
}

std::optional<std::string> EudoraMails::Field(MailField field, std::vector<std::string>& notes) {
    auto text = OrNote(m_session.Text(FieldId(field)), notes);
    if (!text || !*text) return std::nullopt;
    return platform::ToUtf8(**text, m_codePage);
}

// A mail without a Message-ID has its record id in its place. One that the index of ids leaves out,
// as it has no "To: " or came later, gives a failure instead of a text: for the person the same.
std::optional<std::string> EudoraMails::MessageId(const std::string& recordId) {
    const auto text = m_session.Text(FieldId(MailField::kMessageId));
    if (!text || !*text || **text == recordId) return std::nullopt;
    return platform::ToUtf8(**text, m_codePage);
}

void EudoraMails::ReadAttachments(Mail& mail) {
    const auto text = OrNote(m_session.Text(FieldId(MailField::kAttachment)), mail.notes);
    if (!text || !*text) return;
    CArray<CRAttachmentInfo> list;
    if (StrToAttachmentInfo((*text)->c_str(), list) != RRC_OK) {
        mail.notes.push_back("the list of attachments is damaged");
    }
    for (int i = 0; i < list.GetSize(); ++i) {
        const CRAttachmentInfo info = list.GetAt(i);
        const std::string name = platform::ToUtf8(info.csDisplayName.Str(), m_codePage);
        const auto path = eudora::ToNativePath(info.csFilePath.Str());
        if (path) {
            mail.attachments.push_back({name, *path});
        } else {
            mail.notes.push_back("the attachment " + name + " is not to be found");
        }
    }
}

// By what can be read of it.
std::string EudoraMails::CurrentName() {
    std::vector<std::string> ignored;
    std::string name = "mail " + base::ToUtf8(m_session.RecordId().ValueOr(""));
    const auto subject = Field(MailField::kSubject, ignored);
    const auto date = OrNote(m_session.Date(FieldId(MailField::kDate)), ignored);
    const auto local = date && *date ? FromOleDate(**date) : std::nullopt;
    if (subject) name += ", " + *subject;
    if (local) name += ", " + IsoDate(*local);
    return name;
}

platform::Result<Mail> EudoraMails::Current(MailParts parts) {
    auto mail = m_fault ? platform::Result<Mail>(*m_fault)
                        : base::OrOutOfMemory([&] { return ReadCurrent(parts); });
    if (mail) return mail;
    return base::Failed(CurrentName() + ": cannot be read: " + mail.Error().Message());
}

platform::Result<Mail> EudoraMails::ReadCurrent(MailParts parts) {
    auto head = CurrentHead();
    if (!head) return head.Error();
    Mail mail;
    mail.id = std::move(head->id);
    mail.marker = std::move(head->marker);
    mail.from = Field(MailField::kFrom, mail.notes);
    mail.to = Field(MailField::kTo, mail.notes);
    mail.cc = Field(MailField::kCc, mail.notes);
    mail.bcc = Field(MailField::kBcc, mail.notes);
    mail.subject = Field(MailField::kSubject, mail.notes);
    mail.date =
        OrNote(m_session.Date(FieldId(MailField::kDate)), mail.notes).value_or(std::nullopt);
    if (HasBody(parts)) mail.body = Field(MailField::kBody, mail.notes);
    const auto size = OrNote(m_session.Number(FieldId(MailField::kSize)), mail.notes);
    mail.size = static_cast<std::uint32_t>(size.value_or(0));
    if (const auto status = OrNote(m_session.Number(FieldId(MailField::kStatus)), mail.notes)) {
        mail.status = static_cast<std::uint32_t>(*status);
    }
    mail.messageId = MessageId(mail.id);
    if (HasAttachments(parts)) ReadAttachments(mail);
    return mail;
}

}  // namespace host::mail
