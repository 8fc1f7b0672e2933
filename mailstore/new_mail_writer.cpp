#include "mailstore/new_mail_writer.h"

#include <new>
#include <unordered_set>

#include "mailbox/toc_file.h"
#include "mailstore/built_record.h"
#include "mailstore/mail_date.h"
#include "mailstore/mail_status.h"

namespace mailstore {

namespace {

using mailbox::Appended;
using platform::Result;
using platform::Status;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSeparatorMiddle = " ???@??? ";
constexpr std::string_view kOpeners[] = {"To: ", "Cc: ", "Bcc: "};  // by recipient class from 1 on

std::string_view Sender(const MapiMessage& mail) {
    return mail.lpOriginator != nullptr ? ViewOf(mail.lpOriginator->lpszAddress)
                                        : std::string_view();
}

template <class... Texts>
void Line(std::string& out, const Texts&... texts) {
    (out.append(texts), ...);
    out += kLineEnd;
}

void AppendRecipients(std::string& out, const MapiMessage& mail) {
    for (const MapiRecipDesc& recipient : mapi::Recipients(mail)) {
        if (recipient.ulRecipClass < mapi::kTo || recipient.ulRecipClass > mapi::kBcc) continue;
        Line(out, kOpeners[recipient.ulRecipClass - mapi::kTo], ViewOf(recipient.lpszAddress));
    }
}

void AppendAttachments(std::string& out, const MapiMessage& mail, const MailLabels& labels) {
    for (const MapiFileDesc& file : mapi::Files(mail)) {
        out.append(kLineEnd).append(kLineEnd).append(labels.attachment).append(" \"");
        out.append(ViewOf(file.lpszPathName)) += '"';
    }
    if (!mapi::Files(mail).empty()) out += kLineEnd;
}

// The mail as docs/formats/mbx.md tells, from its separator line to its last line end. The record's
// texts go in as they are; a null one is empty.
void AppendMailText(std::string& out, const MapiMessage& mail, std::string_view messageId,
                    const MailDate& date, const MailLabels& labels) {
    Line(out, labels.from, kSeparatorMiddle, date.separatorDate);
    Line(out, std::string_view("Message-ID: <"), messageId, std::string_view(">"));
    Line(out, date.line);
    AppendRecipients(out, mail);
    Line(out, labels.from, std::string_view(": "), Sender(mail));
    Line(out, std::string_view("Subject: "), ViewOf(mail.lpszSubject));
    Line(out);
    Line(out, ViewOf(mail.lpszNoteText));
    AppendAttachments(out, mail, labels);
}

// The mail's block but for its place.
mailbox::MsgBlock MakeMsgBlock(const MapiMessage& mail, const MailDate& date, unsigned codePage) {
    auto block = mailbox::NewMsgBlock(Sender(mail), ViewOf(mail.lpszSubject), mail.nFileCount != 0,
                                      codePage);
    block.dwSeconds = date.dwSeconds;
    // The status that the host gave follows; this stands until then.
    block.wStatus = (mail.flFlags & kReadBit) == 0 ? 1 : 0;
    block.szDate = date.szDate;
    block.dwMsgId = mailbox::MsgIdOf(ViewOf(mail.lpszConversationID));
    return block;
}

// Whether the header counts these mails, which it does with all or none. Then they are made
// durable.
Result<bool> AreStored(platform::File& toc, const mailbox::TocHeader& header,
                       std::span<const NewMail> mails) {
    std::unordered_set<std::uint32_t> ids;
    for (const NewMail& mail : mails) {
        ids.insert(mailbox::MsgIdOf(ViewOf(mail.record->lpszConversationID)));
    }
    bool areStored = false;
    Status status = mailbox::ForEachBlock(toc, header.wNumberOfMsgs,
                                          [&](const mailbox::MailPlace& place) -> Status {
                                              areStored |= ids.contains(place.dwMsgId);
                                              return {};
                                          });
    if (status && areStored) status = toc.Flush();
    return status ? Result<bool>(areStored) : status.Error();
}

Appended Failed(const platform::Failure& failure, bool isOfToc) {
    Appended failed;
    failed.failure = failure;
    failed.isOfToc = isOfToc;
    return failed;
}

// `stored` is how many of the first mails an earlier call has stored; meanwhile `uncertain` of them
// may be.
Appended Append(const NewMailPlace& place, std::span<const NewMail> mails, std::size_t& uncertain,
                std::size_t& stored) {
    const auto header = mailbox::ReadTocHeaderToChange(place.toc);
    if (!header) return Failed(header.Error(), true);
    const auto size = place.mbx.Size();
    if (!size) return Failed(size.Error(), false);
    if (uncertain > 0) {
        const auto areStored = AreStored(place.toc, *header, mails.first(uncertain));
        if (!areStored) return Failed(areStored.Error(), true);
        if (*areStored) stored = uncertain;
        uncertain = 0;
    }
    const Status leftovers = mailbox::CheckLeftovers(place.toc, *header, *size);
    if (!leftovers) return Failed(leftovers.Error(), true);
    const mailbox::AppendPlace behind{place.mbx, place.toc,          *header, *size,
                                      "",        place.highestMsgId, false};
    const auto added = mails.subspan(stored);
    return mailbox::AppendMails(behind, added.size(), [&](std::size_t n, std::string& out) {
        const MapiMessage& record = *added[n].record;
        const MailDate date =
            ConvertMailDate(record.lpszDateReceived, place.clock, place.isJapanese);
        AppendMailText(out, record, added[n].messageId, date, place.labels);
        return MakeMsgBlock(record, date, place.codePage).Encode();
    });
}

}  // namespace

Appended AppendNewMails(const NewMailPlace& place, std::span<const NewMail> mails,
                        std::size_t uncertain) {
    Appended appended;
    std::size_t stored = 0;
    try {
        appended = Append(place, mails, uncertain, stored);
    } catch (const std::bad_alloc&) {
        appended.failure.emplace();
        appended.isOutOfMemory = true;
    }
    appended.written += stored;
    appended.uncertain += uncertain;
    return appended;
}

}  // namespace mailstore
