#include "host/translator/in_box.h"

#include <string_view>

#include "host/translator/mail_settings.h"
#include "mailbox/toc_file.h"
#include "platform/os/system.h"

namespace host::translator {

namespace {

constexpr std::string_view kSeparator = "From ???@??? ";

// Only what tells a table of contents from what would read as an empty one.
base::Status CheckToc(platform::File& toc, const std::string& shown) {
    const auto size = toc.Size();
    if (!size) return size.Error();
    const auto header = mailbox::ReadTocHeader(toc);
    if (!header) return header.Error();
    if (header->IsMacintosh()) {
        return base::Refused(
            "In.toc in " + shown + " was written by Eudora for Macintosh, which is another format",
            "let Eudora for Windows import that mailbox first");
    }
    if (*size < mailbox::kTocHeaderSize) {
        return base::Refused(
            "In.toc in " + shown + " is cut short (" + std::to_string(*size) + " bytes)",
            "bring back a copy of it, or let Eudora rebuild it");
    }
    return {};
}

}  // namespace

base::Status CheckInBox(const eudora::Setup& setup) {
    auto& files = platform::NativeSystem().files;
    for (const char* name : {"In.mbx", "In.toc"}) {
        const auto file = files.Open(setup.eudoraFolder + '\\' + name, platform::OpenMode::kRead,
                                     platform::Share::kRead);
        if (file) {
            const bool isToc = std::string_view(name) == "In.toc";
            auto checked = isToc ? CheckToc(**file, setup.eudoraShown) : base::Status();
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

base::Status CheckInBoxPair(const eudora::Setup& setup) {
    auto& files = platform::NativeSystem().files;
    const auto open = [&](const char* name) {
        return files.Open(setup.eudoraFolder + name, platform::OpenMode::kRead,
                          platform::Share::kReadWrite);
    };
    const auto mbx = open("\\In.mbx"), toc = open("\\In.toc");
    if (!mbx) return mbx.Error();
    if (!toc) return toc.Error();
    const auto belong = mailbox::BelongTogether(**mbx, **toc, kSeparator);
    if (!belong) return belong.Error();
    if (*belong) return {};
    return base::Refused(
        "In.toc and In.mbx in " + setup.eudoraShown +
            " do not belong together (no mail begins where In.toc says that the first "
            "one does)",
        "bring back a copy of both, or let Eudora rebuild In.toc");
}

base::Result<TranslatorSession> SelectInBox(TranslatorHost& host, const eudora::Setup& setup,
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
