#include "host/mail/eudora_mails.h"

#include <algorithm>
#include <utility>

#include "host/base/paths.h"
#include "host/mail/stored_text.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/system.h"
#include "text/ascii.h"
#include "text/calendar.h"

namespace host::mail {

namespace {

// No mail's id: those begin with "0x".
const std::string kNoMail = "none";

// The value, or nothing and the failure among the notes, if they are wanted.
template <class T>
std::optional<T> OrNote(base::Result<T> value, std::vector<std::string>* notes) {
    if (value) return *std::move(value);
    if (notes != nullptr) notes->push_back(value.Error().Message());
    return std::nullopt;
}

constexpr const char* kNobodyNamed = "undisclosed-recipients";

}  // namespace

base::Result<std::unique_ptr<MailSource>> EudoraMails::Open(
    translator::TranslatorSession session, const std::string& selection, const std::string& folder,
    const translator::MailLimitChanges& changes) {
    const auto change = [&](const translator::MailLimitChanges& wanted) {
        return translator::ChangeMailLimits(session, selection, wanted);
    };
    base::Status status;
    if (!changes.IsEmpty()) status = change(changes);
    if (!status) return status.Error();
    auto limits = translator::ReadMailLimits(session, selection);
    if (!limits) return limits.Error();
    // Too large attachments are left out here, where they are counted.
    const bool leavesOut = limits->attachments && limits->limitsAttachments;
    if (leavesOut) status = change({{}, {}, {}, "off"});
    if (status) status = session.Open();
    if (!status) return status.Error();
    auto owned = std::make_unique<translator::TranslatorSession>(std::move(session));
    std::unique_ptr<EudoraMails> mails(new EudoraMails(std::move(owned), selection, *limits));
    auto files = MailboxFiles::Open(platform::NativeSystem().files, folder + "\\In.mbx",
                                    folder + "\\In.toc", {});
    if (files) mails->m_files = *std::move(files);
    return std::unique_ptr<MailSource>(std::move(mails));
}

std::uint64_t EudoraMails::LargestAttachment() const {
    if (!m_limits.attachments) return 0;
    if (!m_limits.limitsAttachments) return MailSource::LargestAttachment();
    return std::uint64_t{static_cast<std::uint32_t>(m_limits.attachmentKB)} * 1024;
}

std::string EudoraMails::Limits() const {
    std::vector<std::string> mails, all;
    std::string how;
    if (m_limits.limitsAge) {
        mails.push_back("older than " + std::to_string(m_limits.ageDays) + " days");
        how += " --age off";
    }
    if (m_limits.limitsSize) {
        mails.push_back("larger than " + std::to_string(m_limits.sizeKB) + " KB");
        how += " --size off";
    }
    if (!mails.empty()) all.push_back("new mails " + text::Joined(mails, " or "));
    if (!m_limits.attachments) {
        all.emplace_back("attachments");
        how += " --attachments on";
    } else if (m_limits.limitsAttachments) {
        all.push_back("attachments larger than " + std::to_string(m_limits.attachmentKB) + " KB");
        how += " --attachment-size off";
    }
    if (all.empty()) return {};
    return "left out: " + text::Joined(all, ", and ") + " (kvsync configure mail" + how + ")";
}

// Closing and opening the same translator keeps its index of the mailbox.
base::Status EudoraMails::LiftLimits() {
    if (auto closed = m_session.Close(); !closed) return closed;
    const translator::MailLimitChanges changes{"off", "off", {}, {}};
    if (auto lifted = translator::ChangeMailLimits(m_session, m_selection, changes); !lifted)
        return lifted;
    if (auto opened = m_session.Open(); !opened) return opened;
    m_areLifted = true;
    return {};
}

base::Status EudoraMails::Walk(Reach reach, const Visit& visit) {
    if (reach == Reach::kAll && HasLimits()) {
        if (auto lifted = LiftLimits(); !lifted) return lifted;
    }
    return WalkShown(visit);
}

base::Status EudoraMails::WalkShown(const Visit& visit) {
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

MailHead EudoraMails::HeadOrFault(const base::Result<bool>& reached) {
    auto head = reached ? CurrentHead() : base::Result<MailHead>(reached.Error());
    if (head) return *std::move(head);
    m_fault = head.Error();
    auto id = m_session.RecordId();
    return {id ? *std::move(id) : std::string(), {}};
}

base::Status EudoraMails::ReachAny() {
    return WalkShown([](const MailHead& head) { return head.marker.empty(); });
}

base::Result<bool> EudoraMails::IsGoneBy(const std::string& message) {
    // A mailbox that cannot be read now would give one message for all ids.
    if (auto reached = ReachAny(); !reached) return reached.Error();
    if (m_goneMessage.empty()) {
        const auto none = m_session.GoTo(kNoMail);
        if (auto reached = ReachAny(); !reached) return reached.Error();
        if (!none) m_goneMessage = none.Error().Message();
    }
    return message == m_goneMessage;
}

base::Result<bool> EudoraMails::GoTo(const std::string& id) {
    m_fault.reset();
    auto found = m_session.GoTo(id);
    if (found) return found;
    const auto gone = IsGoneBy(found.Error().Message());
    if (!gone) return gone.Error();
    if (*gone) return false;
    return found;
}

base::Result<std::optional<MailHead>> EudoraMails::Find(const std::string& id) {
    auto found = GoTo(id);
    if (!found) return found.Error();
    if (!*found) return std::optional<MailHead>();
    auto head = CurrentHead();
    if (!head) return head.Error();
    return std::optional<MailHead>(*std::move(head));
}

base::Result<MailHead> EudoraMails::CurrentHead() {
    m_fault.reset();
    auto id = m_session.RecordId();
    if (!id) return id.Error();
    auto marker = m_session.ModifiedInfo();
    if (!marker) return marker.Error();
    return MailHead{*std::move(id), *std::move(marker)};
}

std::optional<std::string> EudoraMails::Text(MailField field, std::vector<std::string>* notes) {
    auto text = OrNote(m_session.Text(FieldId(field)), notes);
    if (!text || !*text) return std::nullopt;
    return StoredText(**text);
}

// A mail without one has its record id in its place. One that the index of ids leaves out, as it
// has no "To: " or came later, gives a failure instead of a text.
std::optional<std::string> EudoraMails::MessageId() {
    auto text = m_session.Text(FieldId(MailField::kMessageId));
    if (!text) return std::nullopt;
    const auto id = m_session.RecordId();
    if (!*text || (id && **text == *id)) return std::string();
    return **text;
}

std::string EudoraMails::Name() {
    return MailName(Text(MailField::kSubject).value_or(""), Text(MailField::kFrom).value_or(""));
}

// Whether the mail has lines that name attachments, which are a part of its size but not of its
// text, like the marks of a flowed text.
bool EudoraMails::NamesAttachments(const Mail& mail) {
    constexpr std::size_t kFlowedMarks = 21;
    const auto text = m_session.Text(FieldId(MailField::kBody));
    if (!text || !*text) return false;
    const std::size_t shown =
        (*text)->size() - static_cast<std::size_t>(std::ranges::count(**text, '\n'));
    return mail.size > shown + kFlowedMarks;
}

void EudoraMails::ReadAttachments(Mail& mail) {
    if (!m_limits.attachments) {
        mail.leftOut = mail.body && NamesAttachments(mail) ? 1 : 0;
        return;
    }
    auto& files = platform::NativeSystem().files;
    const auto text = OrNote(m_session.Text(FieldId(MailField::kAttachment)), &mail.notes);
    if (!text || !*text) return;
    CArray<CRAttachmentInfo> list;
    if (StrToAttachmentInfo((*text)->c_str(), list) != RRC_OK) {
        mail.notes.push_back("the list of attachments is damaged");
    }
    for (int i = 0; i < list.GetSize(); ++i) {
        const CRAttachmentInfo info = list.GetAt(i);
        const std::string name = base::ToUtf8(info.csDisplayName.Str());
        const auto copy = files.Stat(info.csFilePath.Str());
        if (copy && copy->size > LargestAttachment()) {
            mail.leftOut = mail.leftOut == 0 ? copy->size : std::min(mail.leftOut, copy->size);
            (void)files.Delete(info.csFilePath.Str());
            continue;
        }
        const auto path = platform::NativePathOf(info.csFilePath.Str());
        if (path) {
            mail.attachments.push_back({name, *path});
        } else {
            mail.notes.push_back("the attachment " + name + " is not to be found");
        }
    }
}

// By what can be read of it.
std::string EudoraMails::CurrentName() {
    std::string name = "mail " + base::ToUtf8(m_session.RecordId().ValueOr(""));
    const auto subject = Text(MailField::kSubject);
    const auto date = m_session.Date(FieldId(MailField::kDate)).ValueOr(std::nullopt);
    const auto local = date ? text::FromOleDate(*date) : std::nullopt;
    if (subject) name += ", " + *subject;
    if (local) name += ", " + text::IsoText(*local);
    return name;
}

base::Result<Mail> EudoraMails::Read(MailParts parts) {
    auto mail = m_fault ? base::Result<Mail>(*m_fault)
                        : base::OrOutOfMemory([&] { return ReadCurrent(parts); });
    if (mail) return mail;
    return base::Failed(CurrentName() + ": cannot be read: " + mail.Error().Message());
}

base::Result<Mail> EudoraMails::ReadCurrent(MailParts parts) {
    auto head = CurrentHead();
    if (!head) return head.Error();
    Mail mail;
    mail.id = std::move(head->id);
    mail.marker = std::move(head->marker);
    auto* const notes = &mail.notes;
    mail.from = Text(MailField::kFrom, notes);
    mail.to = Text(MailField::kTo, notes);
    mail.cc = Text(MailField::kCc, notes);
    mail.bcc = Text(MailField::kBcc, notes);
    mail.subject = Text(MailField::kSubject, notes);
    mail.date = OrNote(m_session.Date(FieldId(MailField::kDate)), notes).value_or(std::nullopt);
    using enum MailParts;
    if (parts == kAll || parts == kWithoutAttachments) {
        if (m_files) mail.header = m_files->HeaderOf(mail.id);
        const auto text = OrNote(m_session.Text(FieldId(MailField::kBody)), notes);
        if (text && *text) mail.body = StoredBody(**text, mail.header);
    }
    const auto size = OrNote(m_session.Number(FieldId(MailField::kSize)), notes);
    mail.size = static_cast<std::uint32_t>(size.value_or(0));
    if (const auto status = OrNote(m_session.Number(FieldId(MailField::kStatus)), notes)) {
        mail.status = static_cast<std::uint32_t>(*status);
    }
    // Whether it has none or that cannot be told is the same to a person.
    if (const auto id = MessageId(); id && !id->empty()) {
        mail.messageId = base::ToUtf8(*id);
    }
    if (parts == kAll || parts == kWithoutBody) ReadAttachments(mail);
    return mail;
}

base::Status EudoraMails::SetFields(const NewMail& mail, std::uint32_t status) {
    const bool isOutgoing = status == kStatusToSend;
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
    const auto number = static_cast<std::int32_t>(status);
    auto set = m_session.SetNumber(FieldId(MailField::kStatus), number);
    for (const auto& [field, text] : texts) {
        if (set && !text.empty()) set = m_session.SetText(FieldId(field), text);
    }
    if (set && mail.date) set = m_session.SetDate(FieldId(MailField::kDate), *mail.date);
    return set ? SetAttachments(mail) : set;
}

// The translator takes each file away that it could copy, and tells of no other.
base::Status EudoraMails::SetAttachments(const NewMail& mail) {
    if (mail.attachments.empty()) return {};
    CArray<CRAttachmentInfo> list;
    for (const NewAttachment& attachment : mail.attachments) {
        CRAttachmentInfo info;
        info.dwInfoFlag = info.bDeleteSource = 1;
        info.csDisplayName = attachment.name;
        info.csFileName = attachment.copyName;
        info.csFilePath = attachment.path;
        list.Add(info);
    }
    CString text;
    if (AttachmentInfoToStr(list, text) != RRC_OK) {
        return base::Failed("the list of attachments cannot be told");
    }
    auto set = m_session.SetText(FieldId(MailField::kAttachment), text.Str());
    if (!set) return set;
    for (const NewAttachment& attachment : mail.attachments) {
        if (!platform::NativeSystem().files.Exists(attachment.path)) continue;
        return base::Failed("the attachment " + base::ToUtf8(attachment.name) +
                            " cannot be stored");
    }
    return {};
}

base::Result<MailHead> EudoraMails::Add(const NewMail& mail, std::uint32_t status) {
    std::vector<translator::TextValue> shown;
    if (!mail.from.empty()) shown.push_back({FieldId(MailField::kFrom), mail.from});
    const auto number = static_cast<std::int32_t>(status);
    const auto verdict = m_session.Check(shown, {{FieldId(MailField::kStatus), number}});
    if (!verdict) return verdict.Error();
    if (!verdict->ok) {
        std::string why = "Eudora's translator refuses the mail";
        for (const std::string& message : verdict->messages) why += ": " + message;
        return base::Failed(why);
    }
    if (auto begun = m_session.BeginAdd(); !begun) return begun.Error();
    if (auto set = SetFields(mail, status); !set) return set.Error();
    auto stored = m_session.Store();
    if (!stored) return stored.Error();
    return MailHead{std::move(stored->id), std::move(stored->modifiedInfo)};
}

base::Status EudoraMails::AddOutgoing(const NewMail& mail) {
    if (mail.to.empty() && mail.cc.empty() && mail.bcc.empty()) {
        return base::Failed("the mail names no recipient");
    }
    for (const auto* list : {&mail.to, &mail.cc, &mail.bcc}) {
        for (const Recipient& one : *list) {
            // A comma separates, so the address would become two.
            if (one.address.find(',') == std::string::npos) continue;
            return base::Failed("the mail has a recipient with a comma in the address");
        }
    }
    const auto stored = Add(mail, kStatusToSend);
    return stored ? base::Status() : base::Status(stored.Error());
}

base::Status EudoraMails::SetStatus(const std::string& id, std::uint32_t status) {
    if (auto begun = m_session.BeginEdit(id); !begun) return begun;
    auto set = m_session.SetNumber(FieldId(MailField::kStatus), static_cast<std::int32_t>(status));
    if (!set) return set;
    const auto stored = m_session.Store();
    return stored ? base::Status() : base::Status(stored.Error());
}

base::Status EudoraMails::Remove(const std::string& id) {
    return m_session.Delete(id);
}

base::Status EudoraMails::Finish() {
    const auto closed = m_session.Close();
    const auto opened = m_session.Open();
    return closed ? opened : closed;
}

base::Status EudoraMails::SignOff() {
    return m_session.SignOff();
}

}  // namespace host::mail
