#include "eumapi/send_mail.h"

#include "eumapi/mailbox.h"
#include "eumapi/outgoing_files.h"
#include "eumapi/outgoing_text.h"
#include "text/double_byte.h"

namespace eumapi {

namespace {

constexpr std::size_t kLongestListText = 63;

Code CheckRecipients(const MapiMessage& message) {
    if (message.nRecipCount == 0 || message.lpRecips == nullptr) return mapi::kInvalidRecipients;
    for (std::uint32_t i = 0; i < message.nRecipCount; ++i) {
        const auto& recipient = message.lpRecips[i];
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
    if (message.lpFiles == nullptr) return mapi::kSuccess;
    for (std::uint32_t i = 0; i < message.nFileCount; ++i) {
        const auto& file = message.lpFiles[i];
        // An entry without a file stands for an attachment that never had one.
        if (file.lpszPathName == nullptr || *file.lpszPathName == '\0') continue;
        if (const Code code = files.Add(file); code != mapi::kSuccess) return code;
    }
    return mapi::kSuccess;
}

std::string Cut(const std::string& text, unsigned codePage) {
    return text.substr(0, text::WholeCharacterPrefix(text, kLongestListText, codePage));
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
    if (const Code code = out.Open(eudoraFolder, kOutBox); code != mapi::kSuccess) return code;
    const unsigned codePage = system.codePage;
    const auto now = system.clock.Now();
    mailbox::MsgBlock block;
    block.dwSeconds =
        static_cast<std::uint32_t>(std::chrono::system_clock::to_time_t(now) & 0xFFFFFFFF);
    block.wStatus = static_cast<std::uint16_t>(mailbox::MailState::kQueued);
    const bool hasFiles = !attachments.Paths().empty();
    block.bMarkLow = hasFiles ? 0x00 : 0xBE;
    block.bMarkHigh = hasFiles ? 0x80 : 0x01;
    block.szDate = ListDate(now, system.clock);
    // The out-box lists whom a mail goes to.
    block.szFrom = Cut(AddressOf(message.lpRecips[0]), codePage);
    block.szSubject = Cut(HeaderText(message.lpszSubject), codePage);
    block.dwMsgId = out.FreeId();
    const Code code =
        out.Append(OutgoingText(message, attachments.Paths(), now, system.clock), block.Encode());
    if (code == mapi::kSuccess) attachments.Keep();
    return code;
}

}  // namespace eumapi
