#include "host/mailsync/eudora_mail_source.h"

#include "host/base/native_path.h"
#include "host/mailsync/mail_content.h"

namespace host::mailsync {

std::string DescribeLeftOut(const translator::MailLimits& limits) {
    std::string out, how;
    const auto add = [](std::string& text, const char* between, const std::string& part) {
        text += (text.empty() ? "" : between) + part;
    };
    if (limits.limitsAge) {
        add(out, " or ", "older than " + std::to_string(limits.ageDays) + " days");
        how += " --age off";
    }
    if (limits.limitsSize) {
        add(out, " or ", "larger than " + std::to_string(limits.sizeKB) + " KB");
        how += " --size off";
    }
    if (!out.empty()) out = "new mails " + out;
    if (!limits.attachments) {
        add(out, ", and ", "attachments");
        how += " --attachments on";
    } else if (limits.limitsAttachments) {
        add(out, ", and ",
            "attachments larger than " + std::to_string(limits.attachmentKB) + " KB");
        how += " --attachment-size off";
    }
    if (out.empty()) return out;
    return "left out: " + out + " (kvsync configure mail" + how + ")";
}

EudoraMailSource::EudoraMailSource(translator::TranslatorSession session, std::string selection,
                                   translator::MailLimits limits, unsigned codePage)
    : m_session(std::move(session)),
      m_mails(m_session, codePage),
      m_writer(m_session),
      m_selection(std::move(selection)),
      m_limits(limits),
      m_limitsLine(DescribeLeftOut(limits)) {}

platform::Result<std::unique_ptr<MailSource>> EudoraMailSource::Open(
    translator::TranslatorSession session, const std::string& selection, unsigned codePage) {
    auto limits = translator::ReadMailLimits(session, selection);
    if (!limits) return limits.Error();
    if (auto opened = session.Open(); !opened) return opened.Error();
    return std::unique_ptr<MailSource>(
        new EudoraMailSource(std::move(session), selection, *limits, codePage));
}

// The same translator keeps its index of the mailbox when it is closed and opened again.
platform::Status EudoraMailSource::LiftLimits() {
    if (auto closed = m_session.Close(); !closed) return closed;
    translator::MailLimitChanges changes;
    changes.limitsAge = changes.limitsSize = false;
    if (auto lifted = translator::ChangeMailLimits(m_session, m_selection, changes); !lifted)
        return lifted;
    if (auto opened = m_session.Open(); !opened) return opened;
    m_limits.limitsAge = m_limits.limitsSize = false;
    return {};
}

platform::Status EudoraMailSource::Walk(
    Reach reach, const std::function<platform::Status(const mail::MailHead&)>& visit) {
    if (reach == Reach::kAll && HasLimits()) {
        if (auto lifted = LiftLimits(); !lifted) return lifted;
    }
    return m_mails.Walk([&](const mail::MailHead& head) -> platform::Result<bool> {
        if (auto visited = visit(head); !visited) return visited.Error();
        return true;
    });
}

platform::Result<std::optional<mail::MailHead>> EudoraMailSource::Find(const std::string& id) {
    auto found = m_mails.GoTo(id);
    if (!found) return found.Error();
    if (!*found) return std::optional<mail::MailHead>();
    auto head = m_mails.CurrentHead();
    if (!head) return head.Error();
    return std::optional<mail::MailHead>(*std::move(head));
}

// A mail without one has its record id in its place.
std::optional<std::string> EudoraMailSource::MessageId() {
    auto text = m_session.Text(FieldId(MailField::kMessageId));
    if (!text) return std::nullopt;
    auto id = m_session.RecordId();
    if (!*text || (id && **text == *id)) return std::string();
    return **text;
}

std::string EudoraMailSource::Name() {
    const auto textOf = [&](MailField field) {
        auto text = m_session.Text(FieldId(field));
        return text && *text ? base::ToUtf8(**text) : std::string();
    };
    return MailName(textOf(MailField::kSubject), textOf(MailField::kFrom));
}

platform::Status EudoraMailSource::Finish() {
    const auto finished = m_writer.Finish();
    const auto opened = m_session.Open();
    return finished ? opened : finished;
}

platform::Result<mail::Mail> EudoraMailSource::Read(mail::MailParts parts) {
    return m_mails.Current(parts);
}

}  // namespace host::mailsync
