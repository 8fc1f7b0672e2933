#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "host/mailsync/mail_sides.h"

// Which remembered mail each mail in Eudora is.
namespace host::mailsync {

// The remembered mail of each mail in Eudora.
struct MailMatching {
    std::vector<std::optional<std::size_t>> rowOf;  // by position in sides.eudora
    // By position in sides.remembered. Lost: an interrupted delivery left no file or a part of one;
    // such a row matches no mail. Gone: Eudora has the mail no more.
    std::vector<bool> isLost, isGone;
    // Those of either side of which it cannot be told whether they are one mail.
    std::vector<bool> isUnclearRow, isUnclearHead;
};

// Matches by record id, unless the Message-ID shows that another mail got the id, or is doubtful;
// the rest by Message-ID as TellApart does, or by content if there is none.
MailMatching MatchMails(const MailSides& sides);

}  // namespace host::mailsync
