#include "mailstore/new_mail_text.h"

#include "mailstore/mail_status.h"
#include "text/double_byte.h"

namespace mailstore {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSeparatorMiddle = " ???@??? ";
constexpr std::string_view kOpeners[] = {"To: ", "Cc: ", "Bcc: "};  // by recipient class from 1 on
constexpr std::size_t kShortText = 63;                              // bytes of a block's text

std::string_view View(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

std::string_view Sender(const MapiMessage& mail) {
    return mail.lpOriginator != nullptr ? View(mail.lpOriginator->lpszAddress) : std::string_view();
}

template <class... Texts>
void Line(std::string& out, const Texts&... texts) {
    (out.append(texts), ...);
    out += kLineEnd;
}

void AppendRecipients(std::string& out, const MapiMessage& mail) {
    for (std::uint32_t i = 0; mail.lpRecips != nullptr && i < mail.nRecipCount; ++i) {
        const MapiRecipDesc& recipient = mail.lpRecips[i];
        if (recipient.ulRecipClass < mapi::kTo || recipient.ulRecipClass > mapi::kBcc) continue;
        Line(out, kOpeners[recipient.ulRecipClass - mapi::kTo], View(recipient.lpszAddress));
    }
}

void AppendAttachments(std::string& out, const MapiMessage& mail, const MailLabels& labels) {
    if (mail.nFileCount == 0 || mail.lpFiles == nullptr) return;
    for (std::uint32_t i = 0; i < mail.nFileCount; ++i) {
        out.append(kLineEnd).append(kLineEnd).append(labels.attachment).append(" \"");
        out.append(View(mail.lpFiles[i].lpszPathName)) += '"';
    }
    out += kLineEnd;
}

std::string Short(std::string_view text, unsigned codePage) {
    return std::string(text.substr(0, text::WholeCharacterPrefix(text, kShortText, codePage)));
}

}  // namespace

void AppendMailText(std::string& out, const MapiMessage& mail, std::string_view messageId,
                    const MailDate& date, const MailLabels& labels) {
    Line(out, labels.from, kSeparatorMiddle, date.separatorDate);
    Line(out, std::string_view("Message-ID: <"), messageId, std::string_view(">"));
    Line(out, date.line);
    AppendRecipients(out, mail);
    Line(out, labels.from, std::string_view(": "), Sender(mail));
    Line(out, std::string_view("Subject: "), View(mail.lpszSubject));
    Line(out);
    Line(out, View(mail.lpszNoteText));
    AppendAttachments(out, mail, labels);
}

mailbox::MsgBlock MakeMsgBlock(const MapiMessage& mail, const MailDate& date, unsigned codePage) {
    const bool hasFiles = mail.nFileCount != 0;
    mailbox::MsgBlock block;
    block.dwSeconds = date.dwSeconds;
    // The status that the host gave follows; this stands until then.
    block.wStatus = (mail.flFlags & kReadBit) == 0 ? 1 : 0;
    block.bMarkLow = hasFiles ? 0x00 : 0xBE;
    block.bMarkHigh = hasFiles ? 0x80 : 0x01;
    block.szDate = date.szDate;
    block.szFrom = Short(Sender(mail), codePage);
    block.szSubject = Short(View(mail.lpszSubject), codePage);
    block.dwMsgId = mailbox::MsgIdOf(View(mail.lpszConversationID));
    return block;
}

}  // namespace mailstore
