#include "host/mail/compose_into.h"

#include "host/mail/compose.h"
#include "host/module/out_of_memory.h"

namespace host {

platform::Result<std::uint64_t> ComposeInto(Maildir& maildir, const std::string& unique,
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
        return OrOutOfMemory([&] { return ComposeMail(files, mail, offset, write); });
    });
}

}  // namespace host
