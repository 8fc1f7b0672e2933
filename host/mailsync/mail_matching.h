#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/mailsync/mail_plan.h"

namespace host::mailsync {

// Which remembered mail each mail of Eudora's is.
struct MailMatching {
    std::vector<std::optional<std::size_t>> rowOf;  // by position in sides.eudora
    // By position in sides.remembered. Lost: the delivery of a cut-off run left no file, or a
    // part of one; such a row is no mail's.
    std::vector<bool> isLost, isGone;
};

MailMatching MatchMails(const MailSides& sides);

}  // namespace host::mailsync
