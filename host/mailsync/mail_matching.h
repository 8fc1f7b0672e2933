#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/mailsync/mail_plan.h"

namespace host::mailsync {

// Which remembered mail each mail of Eudora's is.
struct MailMatching {
    std::vector<std::optional<std::size_t>> rowOf;  // by position in sides.eudora
    std::vector<bool> isGone;                       // by position in the remembered ones
};

// Which remembered deliveries of a cut-off run left no file, or a part of one.
std::vector<bool> LostDeliveries(const MailSides& sides,
                                 const std::vector<state::RememberedMail>& remembered);

// Rows of deliveries that are lost match nothing.
MailMatching MatchMails(const std::vector<EudoraHead>& eudora,
                        const std::vector<state::RememberedMail>& remembered,
                        const std::vector<bool>& lost);

}  // namespace host::mailsync
