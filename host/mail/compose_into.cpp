#include "host/mail/compose_into.h"

#include "host/base/out_of_memory.h"
#include "host/mail/compose.h"

namespace host::mail {

platform::Result<std::uint64_t> ComposeInto(maildir::Maildir& maildir, const std::string& unique,
                                            platform::Files& files, const Mail& mail,
                                            std::chrono::seconds offset, bool& isMailAtFault) {
    isMailAtFault = false;
    return maildir.Write(unique, [&](platform::File& file) {
        isMailAtFault = true;
        const auto write = [&](std::string_view piece) {
            auto written = file.Write(piece);
            isMailAtFault = written.HasValue();
            return written;
        };
        return base::OrOutOfMemory([&] { return ComposeMail(files, mail, offset, write); });
    });
}

}  // namespace host::mail
