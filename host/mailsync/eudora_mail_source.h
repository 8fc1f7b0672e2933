#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/mail/eudora_mail_writer.h"
#include "host/mailsync/mail_source.h"
#include "host/translator/mail_settings.h"
#include "host/translator/translator_session.h"

namespace host::mailsync {

// Eudora's in-box through a translator session with the person's limits.
class EudoraMailSource : public MailSource {
  public:
    // Opens the session, for which `selection` was selected. The limits are read from it; no
    // settings are saved.
    static platform::Result<std::unique_ptr<MailSource>> Open(translator::TranslatorSession session,
                                                              const std::string& selection,
                                                              unsigned codePage);

    bool HasLimits() const override { return m_limits.limitsAge || m_limits.limitsSize; }
    std::string Limits() const override { return m_limitsLine; }
    platform::Status Walk(
        Reach reach, const std::function<platform::Status(const mail::MailHead&)>& visit) override;
    platform::Result<std::optional<mail::MailHead>> Find(const std::string& id) override;
    std::optional<std::string> MessageId() override;
    std::string Name() override;
    platform::Result<mail::Mail> Read(mail::MailParts parts) override;
    platform::Result<mail::MailHead> Add(const mail::NewMail& mail, std::uint32_t status) override {
        return m_writer.Add(mail, status);
    }
    platform::Status AddOutgoing(const mail::NewMail& mail) override {
        return m_writer.AddOutgoing(mail);
    }
    platform::Status SetStatus(const std::string& id, std::uint32_t status) override {
        return m_writer.SetStatus(id, status);
    }
    platform::Status Remove(const std::string& id) override { return m_writer.Remove(id); }
    platform::Status Finish() override;

  private:
    EudoraMailSource(translator::TranslatorSession session, std::string selection,
                     translator::MailLimits limits, unsigned codePage);
    platform::Status LiftLimits();

    translator::TranslatorSession m_session;
    mail::EudoraMails m_mails;
    mail::EudoraMailWriter m_writer;
    std::string m_selection;
    translator::MailLimits m_limits;
    std::string m_limitsLine;
};

// What the limits leave out, in one line, and the command that changes it.
std::string DescribeLeftOut(const translator::MailLimits& limits);

}  // namespace host::mailsync
