#include "mailstore/in_box_writer.h"

#include <algorithm>
#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

#include "mailbox/toc_file.h"
#include "mailstore/draft.h"
#include "mailstore/mail_date.h"
#include "mailstore/mail_fields.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

namespace {

using frame::StringId;
using mailbox::Appended;
using platform::Result;
using platform::Status;

// Words of the language bundle that stand in a mailbox.
struct Labels {
    std::string from;        // opens the separator line and the sender's line
    std::string attachment;  // opens an attachment line
};

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSeparatorMiddle = " ???@??? ";
constexpr std::string_view kOpeners[] = {"To: ", "Cc: ", "Bcc: "};  // by recipient class from 1 on

std::string_view Sender(const MapiMessage& mail) {
    return mail.lpOriginator != nullptr ? mapi::ViewOf(mail.lpOriginator->lpszAddress)
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
        Line(out, kOpeners[recipient.ulRecipClass - mapi::kTo],
             mapi::ViewOf(recipient.lpszAddress));
    }
}

void AppendAttachments(std::string& out, const MapiMessage& mail, const Labels& labels) {
    for (const MapiFileDesc& file : mapi::Files(mail)) {
        out.append(kLineEnd).append(kLineEnd).append(labels.attachment).append(" \"");
        out.append(mapi::ViewOf(file.lpszPathName)) += '"';
    }
    if (!mapi::Files(mail).empty()) out += kLineEnd;
}

// The mail as docs/formats/mbx.md tells, from its separator line to its last line end. The record's
// texts go in as they are; a null one is empty.
void AppendMailText(std::string& out, const MapiMessage& mail, std::string_view messageId,
                    const MailDate& date, const Labels& labels) {
    Line(out, labels.from, kSeparatorMiddle, date.separatorDate);
    Line(out, std::string_view("Message-ID: <"), messageId, std::string_view(">"));
    Line(out, date.line);
    AppendRecipients(out, mail);
    Line(out, labels.from, std::string_view(": "), Sender(mail));
    Line(out, std::string_view("Subject: "), mapi::ViewOf(mail.lpszSubject));
    Line(out);
    Line(out, mapi::ViewOf(mail.lpszNoteText));
    AppendAttachments(out, mail, labels);
}

// The mail's block but for its place.
mailbox::MsgBlock MakeMsgBlock(const MapiMessage& mail, const MailDate& date, unsigned codePage) {
    auto block = mailbox::NewMsgBlock(Sender(mail), mapi::ViewOf(mail.lpszSubject),
                                      mail.nFileCount != 0, codePage);
    block.dwSeconds = date.dwSeconds;
    // The status that the host gave follows; this stands until then.
    block.wStatus = (mail.flFlags & kReadBit) == 0 ? 1 : 0;
    block.szDate = date.szDate;
    block.dwMsgId = mailbox::MsgIdOf(mapi::ViewOf(mail.lpszConversationID));
    return block;
}

// Whether the header counts these mails, which it does with all or none. Then they are made
// durable.
Result<bool> AreStored(platform::File& toc, const mailbox::TocHeader& header,
                       std::span<const NewMail> mails) {
    std::unordered_set<std::uint32_t> ids;
    for (const NewMail& mail : mails) {
        ids.insert(mailbox::MsgIdOf(mapi::ViewOf(mail.record->lpszConversationID)));
    }
    const auto places = mailbox::ReadPlaces(toc, header.wNumberOfMsgs);
    if (!places) return places.Error();
    const bool areStored = std::ranges::any_of(
        *places, [&](const mailbox::MailPlace& place) { return ids.contains(place.dwMsgId); });
    if (const Status flushed = areStored ? toc.Flush() : Status(); !flushed) return flushed.Error();
    return areStored;
}

// `stored` is how many of the first mails an earlier call has stored; meanwhile `uncertain` of them
// may be.
Appended Append(CEudoraTransUtil& util, platform::File& mbx, platform::File& toc,
                std::span<const NewMail> mails, std::uint32_t highestId, std::size_t& uncertain,
                std::size_t& stored) {
    const auto header = mailbox::ReadTocHeaderToChange(toc);
    if (!header) return {.failure = header.Error(), .isOfToc = true};
    const auto size = mbx.Size();
    if (!size) return {.failure = size.Error(), .isOfToc = false};
    if (uncertain > 0) {
        const auto areStored = AreStored(toc, *header, mails.first(uncertain));
        if (!areStored) return {.failure = areStored.Error(), .isOfToc = true};
        if (*areStored) stored = uncertain;
        uncertain = 0;
    }
    const Status leftovers = mailbox::CheckLeftovers(toc, *header, *size);
    if (!leftovers) return {.failure = leftovers.Error(), .isOfToc = true};
    const Labels labels{util.GetString(StringId::kMailFrom).Str(),
                        util.GetString(StringId::kAttachmentMark).Str()};
    const auto added = mails.subspan(stored);
    return mailbox::AppendMails(
        {mbx, toc, *header, *size, "", highestId, false}, added.size(),
        [&](std::size_t n, std::string& out) {
            const MapiMessage& record = *added[n].record;
            const MailDate date = ConvertMailDate(record.lpszDateReceived, util.system.clock,
                                                  util.csLanguage == "JP");
            AppendMailText(out, record, added[n].messageId, date, labels);
            return MakeMsgBlock(record, date, util.system.codePage).Encode();
        });
}

constexpr std::size_t kBlocksOfPiece = 4096;  // blocks read with one call

// The states again, in a form that a block without one costs little.
using SortedStates = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

bool ApplyState(char* block, const SortedStates& states) {
    const std::string_view bytes(block, mailbox::kMsgBlockSize);
    const std::uint32_t msgId = mailbox::MailPlace::Decode(bytes).dwMsgId;
    KV_LOG(5, "              MsgBlock.dwMsgId = %d(0x%08x)\n", static_cast<int>(msgId), msgId);
    const auto state =
        std::ranges::lower_bound(states, msgId, {}, &SortedStates::value_type::first);
    if (state == states.end() || state->first != msgId) return false;
    KV_LOG(5, "              - UpDate MailID(%s) Status = %d\n", mailbox::IndexIdOf(msgId).c_str(),
           static_cast<int>(state->second));
    block[mailbox::kStatusOffset] = (state->second & kReadBit) != 0 ? 1 : 0;
    block[mailbox::kStatusOffset + 1] = 0;
    return true;
}

// Writes each run of changed blocks with one call. The last block may be cut short.
Status StorePiece(platform::File& toc, std::uint64_t at, std::span<char> piece,
                  const SortedStates& states) {
    std::size_t begin = 0, end = 0;  // of the run in hand
    const auto writeRun = [&]() -> Status {
        if (begin == end) return {};
        return mailbox::WriteAt(toc, at + begin, {piece.data() + begin, end - begin});
    };
    for (std::size_t block = 0; block + mailbox::kMsgBlockSize <= piece.size();
         block += mailbox::kMsgBlockSize) {
        if (!ApplyState(piece.data() + block, states)) continue;
        if (block != end) {
            if (Status written = writeRun(); !written) return written;
            begin = block;
        }
        end = block + mailbox::kMsgBlockSize;
    }
    return writeRun();
}

}  // namespace

Appended AppendNewMails(CEudoraTransUtil& util, platform::File& mbx, platform::File& toc,
                        std::span<const NewMail> mails, std::uint32_t highestId,
                        std::size_t uncertain) {
    Appended appended;
    std::size_t stored = 0;
    try {
        appended = Append(util, mbx, toc, mails, highestId, uncertain, stored);
    } catch (const std::bad_alloc&) {
        appended.failure.emplace();
        appended.isOutOfMemory = true;
    }
    appended.written += stored;
    appended.uncertain += uncertain;
    return appended;
}

Status StoreStates(platform::File& toc, const States& states) {
    if (const auto header = mailbox::ReadTocHeaderToChange(toc); !header) return header.Error();
    for (const auto& [msgId, status] : states) {
        KV_LOG(5, "              csRecordId = %s, csStatus = %d\n",
               mailbox::IndexIdOf(msgId).c_str(), static_cast<int>(status));
    }
    KV_LOG(5, "CREudoraMail::UpdateMailStatus  quick sort\n");
    const SortedStates sorted(states.begin(), states.end());
    std::vector<char> piece(kBlocksOfPiece * mailbox::kMsgBlockSize);
    for (std::uint64_t at = mailbox::kTocHeaderSize;; at += piece.size()) {
        const auto count = toc.ReadAt(at, piece);
        if (!count) return count.Error();
        const auto read = std::span(piece).first(*count);
        if (Status stored = StorePiece(toc, at, read, sorted); !stored) return stored;
        if (*count < piece.size()) return toc.Flush();
    }
}

}  // namespace mailstore
