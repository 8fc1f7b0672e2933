#include "mailstore/new_mail_text.h"

#include "mailstore/built_record.h"
#include "mailstore/mail_status.h"

namespace mailstore {

namespace {

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

}  // namespace

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

}  // namespace mailstore
