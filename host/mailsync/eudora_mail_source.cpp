#include "host/mailsync/eudora_mail_source.h"

#include <algorithm>

#include "host/module/native_path.h"

namespace host {

namespace {

constexpr const char* kFrom = "1";
constexpr const char* kSubject = "5";
constexpr const char* kMessageId = "11";

// In one line, without anything that moves a terminal's cursor.
std::string Printable(std::string text) {
    std::ranges::replace_if(
        text,
        [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
        ' ');
    return text;
}

}  // namespace

EudoraMailSource::EudoraMailSource(TranslatorSession session, unsigned codePage, bool hasLimits,
                                   std::function<platform::Result<std::string>()> unlimited)
    : m_session(std::move(session)),
      m_mails(m_session, codePage),
      m_hasLimits(hasLimits),
      m_unlimited(std::move(unlimited)) {}

// The same translator keeps its index of the mailbox when it is closed and opened again.
platform::Status EudoraMailSource::LiftLimits() {
    auto selection = m_unlimited();
    if (!selection) return selection.Error();
    if (auto closed = m_session.Close(); !closed) return closed;
    std::string summary;
    if (auto selected = m_session.Select(*selection, summary, false); !selected) {
        return selected.Error();
    }
    if (auto opened = m_session.Open(); !opened) return opened;
    m_hasLimits = false;
    return {};
}

platform::Status EudoraMailSource::Walk(
    Reach reach, const std::function<platform::Status(const MailHead&)>& visit) {
    if (reach == Reach::kAll && m_hasLimits) {
        if (auto lifted = LiftLimits(); !lifted) return lifted;
    }
    return m_mails.Walk([&](const MailHead& head) -> platform::Result<bool> {
        if (auto visited = visit(head); !visited) return visited.Error();
        return true;
    });
}

platform::Result<std::optional<MailHead>> EudoraMailSource::Find(const std::string& id) {
    auto found = m_mails.GoTo(id);
    if (!found) return found.Error();
    if (!*found) return std::optional<MailHead>();
    auto head = m_mails.CurrentHead();
    if (!head) return head.Error();
    return std::optional<MailHead>(*std::move(head));
}

// A mail without one has its record id in its place.
std::optional<std::string> EudoraMailSource::MessageId() {
    auto text = m_session.Text(kMessageId);
    if (!text) return std::nullopt;
    auto id = m_session.RecordId();
    if (!*text || (id && **text == *id)) return std::string();
    return **text;
}

std::string EudoraMailSource::Name() {
    const auto textOf = [&](const char* field) {
        auto text = m_session.Text(field);
        return text && *text ? Printable(ToUtf8(**text)) : std::string();
    };
    const std::string subject = textOf(kSubject), from = textOf(kFrom);
    return (subject.empty() ? "(no subject)" : subject) + (from.empty() ? "" : " from " + from);
}

platform::Result<Mail> EudoraMailSource::Read(MailParts parts) {
    return m_mails.Current(parts);
}

}  // namespace host
