#include "host/eudora/mailbox_table.h"

#include <unordered_set>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "mailbox/separators.h"
#include "mailbox/toc_file.h"
#include "text/ascii.h"

namespace host::eudora {

namespace {

using platform::ErrorCode;
using platform::OpenMode;
using platform::Share;

constexpr std::uint64_t kLargestTable = 64u << 20;
constexpr char kOtherMailbox = 4;  // the type of a mailbox that is none of Eudora's own

// What is wrong with the places that a table tells; empty if nothing is. Reads the text there
// alone, and behind the end that it had when Eudora wrote the table.
base::Result<std::string> WhyNot(platform::File& mbx, const mailbox::Toc& toc) {
    const auto size = mbx.Size();
    if (!size) return size.Error();
    std::unordered_set<std::uint64_t> starts;
    for (const auto& mail : toc.mails) {
        const auto isMail = mailbox::HasSeparatorAt(mbx, mail.dwOffset);
        if (!isMail) return isMail.Error();
        if (!*isMail || mail.End() > *size) {
            return std::string("leads to places where no mail is");
        }
        starts.insert(mail.dwOffset);
    }
    bool isOlder = false;
    const auto note = [&](std::uint64_t start) { isOlder = isOlder || !starts.contains(start); };
    if (toc.header.dwMbxSize > 0 && toc.header.dwMbxSize <= *size) {
        const auto found = mailbox::FindSeparators(mbx, toc.header.dwMbxSize - 1, note);
        if (!found) return found.Error();
    }
    return std::string(isOlder ? "is older than the text" : "");
}

// Why the table of an open text cannot be trusted; empty if it can.
base::Result<std::string> WhyNot(platform::Files& files, platform::File& mbx,
                                 const std::string& table) {
    const auto file = files.Open(table, OpenMode::kRead, Share::kReadWrite);
    if (!file && file.Error().code == ErrorCode::kNotFound) return std::string("is missing");
    if (!file) return "cannot be read (" + file.Error().Message() + ')';
    const auto header = mailbox::ReadTocHeader(**file);
    const auto size = (*file)->Size();
    if (!header || !size) return std::string("cannot be read");
    if (header->IsMacintosh()) return std::string("was written by Eudora for Macintosh");
    const auto toc = mailbox::ReadToc(**file);
    if (!toc) return std::string("cannot be read");
    const bool isShort =
        *size < mailbox::kTocHeaderSize || toc->mails.size() < header->wNumberOfMsgs;
    return isShort ? std::string("is cut short") : WhyNot(mbx, *toc);
}

std::string NoteOf(const Mailbox& mailbox, const std::string& why,
                   const mailbox::RebuiltToc& rebuilt) {
    std::string note = mailbox.Name() + ": its table " + why +
                       "; read by its text: " + base::Counted(rebuilt.kept + rebuilt.made, "mail");
    if (rebuilt.made > 0) {
        note += ", " + std::to_string(rebuilt.made) +
                " without the state that the table told; removed ones may be among them";
    }
    if (rebuilt.lost > 0) {
        note += "; of " + base::Counted(rebuilt.lost, "mail") + " in the table no text is left";
    }
    if (rebuilt.left > 0) {
        note += "; " + base::Counted(rebuilt.left, "mail") +
                " left out, as no table has room for "
                "them";
    }
    return note;
}

}  // namespace

base::Result<ReadableTable> TableToRead(platform::Files& files, const Mailbox& mailbox,
                                        unsigned codePage) {
    const auto mbx = files.Open(mailbox.text, OpenMode::kRead, Share::kReadWrite);
    if (!mbx) return mbx.Error();
    auto why = WhyNot(files, **mbx, mailbox.table);
    if (!why) return why.Error();
    if (why->empty()) return ReadableTable{};
    const std::string old =
        platform::ReadWhole(files, mailbox.table, kLargestTable, Share::kReadWrite).ValueOr("");
    auto rebuilt = mailbox::RebuildToc(**mbx, old, mailbox::kInBox, codePage);
    if (!rebuilt) return rebuilt.Error();
    std::string note = NoteOf(mailbox, *why, *rebuilt);
    return ReadableTable{std::move(rebuilt->bytes), std::move(note)};
}

base::Result<NewTable> RebuildTable(platform::Files& files, const Mailbox& mailbox,
                                    unsigned codePage) {
    auto text = files.Open(mailbox.text, OpenMode::kRead, Share::kRead);
    if (!text) return text.Error();
    const auto old = platform::ReadWhole(files, mailbox.table, kLargestTable);
    if (!old && old.Error().code != ErrorCode::kNotFound) return old.Error();
    if (old && mailbox::TocHeader::Decode(*old).IsMacintosh()) {
        return base::RefusedFor(mailbox.table, "was written by Eudora for Macintosh",
                                "let Eudora for Windows import that mailbox first");
    }
    const std::string name = base::FromUtf8(mailbox.names.back());
    mailbox::MailboxKind kind{name, kOtherMailbox};
    for (const auto& own : {mailbox::kInBox, mailbox::kOutBox, mailbox::kTrash}) {
        const std::string file = std::string(own.name) + ".mbx";
        if (text::EqualNoCase(mailbox.place, file)) kind = own;
    }
    auto toc = mailbox::RebuildToc(**text, old ? *old : std::string(), kind, codePage);
    if (!toc) return toc.Error();
    if (toc->left > 0) {
        return base::Refused(mailbox.Name() + " has " + base::Counted(toc->left, "mail") +
                                 " more than a table can count",
                             "let Eudora move some of its mails into another mailbox");
    }
    const bool isOld = old && *old == toc->bytes;
    return NewTable{*std::move(text), *std::move(toc), isOld};
}

}  // namespace host::eudora
