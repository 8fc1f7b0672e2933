#include "fuzz/fuzz.h"
#include "host/mail/parse.h"
#include "platform/testing/faulty_files.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"

namespace {

void CheckMail(const host::mail::NewMail& mail, bool isSingleByte) {
    std::string lines = mail.from + mail.subject + mail.messageId;
    for (const auto* list : {&mail.to, &mail.cc, &mail.bcc}) {
        lines += host::mail::StoredRecipients(*list) + host::mail::OutgoingRecipients(*list);
        for (const auto& one : *list) Require(!one.address.empty());
    }
    for (const auto& attachment : mail.attachments) {
        lines += attachment.name;
        Require(!attachment.name.empty());
        Require(!isSingleByte || attachment.name.find_first_of("\\/:*?\"<>|") == lines.npos);
    }
    Require(lines.find_first_of(std::string("\r\n\0", 3)) == lines.npos);
    Require(!mail.messageId.empty() && mail.body.find('\0') == lines.npos);
    Require(("\n" + mail.body).find("\nAttachment Converted:") == lines.npos);
    Require(("\n" + mail.body).find("\nFrom ???@???") == lines.npos);
}

}  // namespace

// The first operations on files fail, one in each run: that is told, and leaves no file behind.
void CheckFaults(std::string_view bytes) {
    using platform::testing::Fault;
    bool fired = true;
    for (int n = 1; fired && n < 30; ++n) {
        platform::testing::MemoryFiles files;
        platform::testing::FaultyFiles faulty(files);
        platform::testing::FixedClock clock;
        (void)files.CreateFolder("C:\\in");
        faulty.Arm(n % 2 == 0 ? Fault::kFail : Fault::kTornWrite, n);
        const auto mail = host::mail::ParseMail(bytes, {faulty, "C:\\in", 1252, clock}, "mail");
        fired = faulty.Disarm();
        Require(mail.HasValue() != fired);
        Require(!fired || files.AllFiles().empty());
    }
}

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
    CheckFaults(bytes);
}
