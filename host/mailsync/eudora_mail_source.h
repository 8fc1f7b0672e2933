#pragma once

#include <functional>
#include <string>

#include "host/mailsync/mail_source.h"
#include "host/module/translator_session.h"

namespace host {

// Eudora's in-box through a translator session that is open with the person's limits.
class EudoraMailSource : public MailSource {
  public:
    // `unlimited` gives a selection whose limits are off; it is asked for when a walk needs it.
    EudoraMailSource(TranslatorSession session, unsigned codePage, bool hasLimits,
                     std::function<platform::Result<std::string>()> unlimited);

    bool HasLimits() const override { return m_hasLimits; }
    platform::Status Walk(Reach reach,
                          const std::function<platform::Status(const MailHead&)>& visit) override;
    platform::Result<std::optional<MailHead>> Find(const std::string& id) override;
    std::optional<std::string> MessageId() override;
    std::string Name() override;
    platform::Result<Mail> Read(MailParts parts) override;

  private:
    platform::Status LiftLimits();

    TranslatorSession m_session;
    EudoraMails m_mails;
    bool m_hasLimits;
    std::function<platform::Result<std::string>()> m_unlimited;
};

}  // namespace host
