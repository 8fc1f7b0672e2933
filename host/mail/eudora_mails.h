#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame/interface/field_ids.h"
#include "host/base/failure.h"
#include "host/mail/mail_facts.h"
#include "host/mail/mail_source.h"
#include "host/translator/in_box.h"
#include "host/translator/translator_session.h"

// The mail source behind every command: Eudora's in-box through the translator.
namespace host::mail {

// Eudora's in-box through a translator session.
class EudoraMails : public MailSource {
  public:
    // The opened session outlives this object, which knows nothing of its limits.
    explicit EudoraMails(translator::TranslatorSession& session) : m_session(session) {}
    // Takes over a session in which `selection` was selected and opens it. Its limits with these
    // changes hold as long as the object lives. No settings are saved. The headers of mails are
    // read beside the translator, from the in-box in `folder`, a Windows path.
    static base::Result<std::unique_ptr<MailSource>> Open(
        translator::TranslatorSession session, const std::string& selection,
        const std::string& folder, const translator::MailLimitChanges& changes = {});

    bool HasLimits() const override {
        return !m_areLifted && (m_limits.limitsAge || m_limits.limitsSize);
    }
    std::string Limits() const override;
    std::uint64_t LargestAttachment() const override;
    base::Status Walk(Reach reach, const Visit& visit) override;
    base::Result<std::optional<MailHead>> Find(const std::string& id) override;
    std::optional<std::string> MessageId() override;
    std::string Name() override;
    base::Result<Mail> Read(MailParts parts) override;

    base::Result<MailHead> Add(const NewMail& mail, std::uint32_t status) override;
    base::Status AddOutgoing(const NewMail& mail) override;
    base::Status SetStatus(const std::string& id, std::uint32_t status) override;
    base::Status Remove(const std::string& id) override;
    base::Status Finish() override;
    base::Status SignOff() override;

  private:
    EudoraMails(std::unique_ptr<translator::TranslatorSession> session, std::string selection,
                const translator::MailLimits& limits)
        : m_owned(std::move(session)),
          m_session(*m_owned),
          m_selection(std::move(selection)),
          m_limits(limits) {}

    // Makes a mail the current one; false if it is gone. The translator's result is the same for a
    // missing mail and a fault; the message that it gives for an impossible id tells them apart.
    base::Result<bool> GoTo(const std::string& id);
    base::Status LiftLimits();
    base::Status WalkShown(const Visit& visit);
    base::Result<MailHead> CurrentHead();
    MailHead HeadOrFault(const base::Result<bool>& reached);
    base::Status ReachAny();
    base::Result<bool> IsGoneBy(const std::string& message);

    std::optional<std::string> Text(MailField field, std::vector<std::string>* notes = nullptr);
    base::Result<Mail> ReadCurrent(MailParts parts);
    void ReadAttachments(Mail& mail);
    bool NamesAttachments(const Mail& mail);
    std::string CurrentName();

    base::Status SetFields(const NewMail& mail, std::uint32_t status);
    base::Status SetAttachments(const NewMail& mail);

    std::unique_ptr<translator::TranslatorSession> m_owned;  // null if it is another's
    translator::TranslatorSession& m_session;
    std::string m_selection;
    translator::MailLimits m_limits{.attachments = true};  // those of Open
    bool m_areLifted = false;
    std::optional<MailboxFiles> m_files;  // nothing if they cannot be read
    std::string m_goneMessage;
    std::optional<base::Failure> m_fault;  // of the current mail
};

}  // namespace host::mail
