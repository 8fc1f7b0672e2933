#include "eumapi/send_mail.h"

#include "eumapi/mailbox.h"
#include "eumapi/outgoing_files.h"
#include "eumapi/outgoing_text.h"

namespace eumapi {

namespace {

Code CheckRecipients(const MapiMessage& message) {
    if (mapi::Recipients(message).empty()) return mapi::kInvalidRecipients;
    for (const auto& recipient : mapi::Recipients(message)) {
        if (recipient.ulRecipClass < mapi::kTo || recipient.ulRecipClass > mapi::kBcc) {
            return mapi::kBadRecipientType;
        }
        if (AddressOf(recipient).find_first_not_of(' ') == std::string::npos) {
            return mapi::kUnknownRecipient;
        }
    }
    return mapi::kSuccess;
}

Code CopyAttachments(const MapiMessage& message, OutgoingFiles& files) {
    for (const auto& file : mapi::Files(message)) {
        // An entry without a file stands for an attachment that never had one.
        if (file.lpszPathName == nullptr || *file.lpszPathName == '\0') continue;
        if (const Code code = files.Add(file); code != mapi::kSuccess) return code;
    }
    return mapi::kSuccess;
}

}  // namespace

Code SendMail(const platform::System& system, const std::string& eudoraFolder,
              const MapiMessage& message) {
    if (const Code code = CheckRecipients(message); code != mapi::kSuccess) return code;
    OutgoingFiles attachments(system, eudoraFolder);
    if (const Code code = CopyAttachments(message, attachments); code != mapi::kSuccess) {
        return code;
    }
    Mailbox out(system);
    if (const Code code = out.Open(eudoraFolder, mailbox::kOutBox); code != mapi::kSuccess)
        return code;
    const auto now = system.clock.Now();
    // The out-box lists whom a mail goes to.
    auto block =
        mailbox::NewMsgBlock(AddressOf(message.lpRecips[0]), HeaderText(message.lpszSubject),
                             !attachments.Paths().empty(), system.codePage);
    block.dwSeconds =
        static_cast<std::uint32_t>(std::chrono::system_clock::to_time_t(now) & 0xFFFFFFFF);
    block.wStatus = static_cast<std::uint16_t>(mailbox::MailState::kQueued);
    block.szDate = ListDate(now, system.clock);
    block.dwMsgId = out.FreeId();
    const Code code =
        out.Append(OutgoingText(message, attachments.Paths(), now, system.clock), block.Encode());
    if (code == mapi::kSuccess) attachments.Keep();
    return code;
}

}  // namespace eumapi
