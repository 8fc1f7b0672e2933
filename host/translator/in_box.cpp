#include "host/translator/in_box.h"

#include <cstdint>
#include <string_view>

#include "host/base/exit_code.h"
#include "host/translator/mail_settings.h"
#include "platform/os/system.h"

namespace host::translator {

namespace {

constexpr std::size_t kTocStart = 104;  // bytes before the first mail's entry
// The number of mails ends the header, the place of a mail begins its entry: lower bytes first.
constexpr std::size_t kCountSize = 2, kPlaceSize = 4, kCountAt = kTocStart - kCountSize;
constexpr std::string_view kSeparator = "From ???@??? ";
constexpr std::string_view kMacintosh("\0\1", 2);

// Only what tells a table of contents from what would read as an empty one.
platform::Status CheckToc(platform::File& toc, const std::string& shown) {
    char start[kTocStart];
    const auto count = toc.ReadAt(0, start);
    if (!count) return count.Error();
    if (std::string_view(start, *count).starts_with(kMacintosh)) {
        return base::Refused(
            "In.toc in " + shown + " was written by Eudora for Macintosh, which is another format",
            "let Eudora for Windows import that mailbox first");
    }
    if (*count < kTocStart) {
        return base::Refused(
            "In.toc in " + shown + " is cut short (" + std::to_string(*count) + " bytes)",
            "bring back a copy of it, or let Eudora rebuild it");
    }
    return {};
}

}  // namespace

platform::Status CheckInBox(const eudora::Setup& setup) {
    auto& files = platform::NativeSystem().files;
    for (const char* name : {"In.mbx", "In.toc"}) {
        const auto file = files.Open(setup.eudoraFolder + '\\' + name, platform::OpenMode::kRead,
                                     platform::Share::kRead);
        if (file) {
            const bool isToc = std::string_view(name) == "In.toc";
            auto checked = isToc ? CheckToc(**file, setup.eudoraShown) : platform::Status();
            if (!checked) return checked;
            continue;
        }
        const auto& error = file.Error();
        if (error.code == platform::ErrorCode::kNotFound) {
            return base::Refused(
                "there is no in-box in " + setup.eudoraShown + " (no " + name + ")",
                "start Eudora once, or name the folder that holds its mail");
        }
        if (error.code == platform::ErrorCode::kSharingViolation) {
            return base::Refused(
                std::string(name) + " in " + setup.eudoraShown + " is in use by another program",
                "try again when it has ended");
        }
        if (error.code == platform::ErrorCode::kNotRegular) {
            return base::Refused(
                std::string(name) + " in " + setup.eudoraShown + " is no regular file",
                "move it away and bring back a copy of the mailbox");
        }
        return base::Refused(
            std::string(name) + " in " + setup.eudoraShown + " cannot be read: " + error.Message(),
            "give yourself read permission");
    }
    return {};
}

platform::Status CheckInBoxPair(const eudora::Setup& setup) {
    auto& files = platform::NativeSystem().files;
    const auto open = [&](const char* name) {
        return files.Open(setup.eudoraFolder + name, platform::OpenMode::kRead,
                          platform::Share::kReadWrite);
    };
    const auto mbx = open("\\In.mbx"), toc = open("\\In.toc");
    if (!mbx) return mbx.Error();
    if (!toc) return toc.Error();
    char bytes[kCountSize + kPlaceSize];
    const auto count = (*toc)->ReadAt(kCountAt, bytes);
    if (!count) return count.Error();
    const bool isEmpty = bytes[0] == 0 && bytes[1] == 0;
    if (*count < sizeof bytes || isEmpty) return {};
    std::uint64_t at = 0;
    for (std::size_t i = sizeof bytes; i > kCountSize; --i) {
        at = at << 8 | static_cast<unsigned char>(bytes[i - 1]);
    }
    char line[kSeparator.size()];
    const auto found = (*mbx)->ReadAt(at, line);
    if (!found) return found.Error();
    if (std::string_view(line, *found) == kSeparator) return {};
    return base::Refused(
        "In.toc and In.mbx in " + setup.eudoraShown +
            " do not belong together (no mail begins where In.toc says that the first "
            "one does)",
        "bring back a copy of both, or let Eudora rebuild In.toc");
}

platform::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
                                                bool writesNothing, std::string& selection) {
    if (auto ready = CheckInBox(setup); !ready) return ready.Error();
    auto session = TranslatorSession::Create(host, kMailKind);
    if (!session) return session;
    auto selected = SelectMail(*session, setup, writesNothing);
    if (!selected) return selected.Error();
    selection = *std::move(selected);
    return session;
}

}  // namespace host::translator
