#include "host/mailsync/mail_plan.h"

#include <algorithm>

#include "host/mail/mail.h"

namespace host::mailsync {

std::size_t MailPlan::Count(MailAct act) const {
    return static_cast<std::size_t>(std::ranges::count(steps, act, &MailStep::act));
}

bool MailPlan::ChangesFolder() const {
    return std::ranges::any_of(steps, [](const MailStep& step) {
        return step.act == MailAct::kCompose || step.act == MailAct::kSetFlags ||
               step.act == MailAct::kRemove || step.act == MailAct::kFile;
    });
}

bool MailPlan::ChangesEudora() const {
    return std::ranges::any_of(steps, [](const MailStep& step) {
        return step.act == MailAct::kAdd || step.act == MailAct::kMark ||
               step.act == MailAct::kErase || step.act == MailAct::kSend;
    });
}

bool IsSeen(const std::string& marker) {
    return marker != std::to_string(mail::kStatusUnread);
}

}  // namespace host::mailsync
