#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/mailsync/mail_sides.h"
#include "host/mailsync/match_mails.h"

// Which file of the Maildir each mail has.
namespace host::mailsync {

// The files of the mails, in `sides.folder`; null for a mail without one.
struct FileMatching {
    // By position in sides.remembered. A file that another program renamed is still the mail's own.
    std::vector<const maildir::MaildirEntry*> fileOfRow;
    // By position in sides.eudora, of mails that are not remembered.
    std::vector<const maildir::MaildirEntry*> fileOfHead;
    std::unordered_set<std::string_view> taken;  // unique names of the files that are some mail's
    // By the same positions: those about which nothing can be done, as several mails or files of
    // one Message-ID may be meant.
    std::vector<bool> isUnclearRow, isUnclearHead;
    std::map<std::string, int> leftAlone;  // how many mails and files of a name are unclear
};

// A remembered mail has the file of its unique name. The files that nobody remembers are told
// apart, as TellApart does, among the mails of their Message-ID that lack one.
FileMatching MatchFiles(const MailSides& sides, const MailMatching& mails);

}  // namespace host::mailsync
