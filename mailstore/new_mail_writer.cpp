#include "mailstore/new_mail_writer.h"

#include <new>
#include <unordered_set>

#include "mailbox/toc_file.h"
#include "mailstore/built_record.h"

namespace mailstore {

namespace {

using mailbox::Appended;
using platform::Result;
using platform::Status;

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
