#include "fuzz/fuzz.h"
#include "host/mail/parse.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"

namespace {

bool IsLine(const std::string& text) {
    return text.find_first_of(std::string("\r\n\0", 3)) == std::string::npos;
}

void CheckMail(const host::mail::NewMail& mail, bool isSingleByte) {
    Require(IsLine(mail.from) && IsLine(mail.subject) && IsLine(mail.messageId));
    Require(!mail.messageId.empty());
    for (const auto* list : {&mail.to, &mail.cc, &mail.bcc}) {
        Require(IsLine(host::mail::StoredRecipients(*list)) &&
                IsLine(host::mail::OutgoingRecipients(*list)));
        for (const auto& one : *list) Require(!one.address.empty());
    }
    Require(mail.body.find('\0') == std::string::npos);
    Require(("\n" + mail.body).find("\nAttachment Converted:") == std::string::npos);
    Require(("\n" + mail.body).find("\nFrom ???@???") == std::string::npos);
    for (const auto& attachment : mail.attachments) {
        Require(!attachment.name.empty() && IsLine(attachment.name));
        if (isSingleByte) {
            Require(attachment.name.find_first_of("\\/:*?\"<>|") == std::string::npos);
        }
    }
}

}  // namespace

// Whatever a mail holds, what it becomes keeps to the rules of Eudora's fields, in a code page of
// single bytes and in one of double bytes.
void Check(std::string_view bytes) {
    for (const unsigned codePage : {1252u, 932u}) {
        platform::testing::MemoryFiles files;
        platform::testing::FixedClock clock;
        (void)files.CreateFolder("C:\\in");
        const auto mail = host::mail::ParseMail(bytes, {files, "C:\\in", codePage, clock}, "mail");
        Require(mail.HasValue());
        CheckMail(*mail, codePage == 1252);
        Require(host::mail::MessageIdForEudora(bytes) == mail->messageId);
        Require(files.List("C:\\in", "*")->size() == mail->attachments.size());
    }
}
