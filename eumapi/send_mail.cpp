#include "eumapi/send_mail.h"

#include <vector>

#include "eumapi/attachment_copies.h"
#include "eumapi/mailbox.h"
#include "eumapi/outgoing_text.h"
#include "platform/os/path.h"

namespace eumapi {

namespace {

constexpr std::size_t kLongestListText = 63;
constexpr int kMostNames = 10000;

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

// The attachments of a mail that waits in the out-box; deleted again if it does not get there.
class AttachFolder {
  public:
    AttachFolder(const platform::System& system, const std::string& eudoraFolder)
        : m_system(system), m_folder(eudoraFolder + "Attach") {}
    AttachFolder(const AttachFolder&) = delete;
    AttachFolder& operator=(const AttachFolder&) = delete;
    ~AttachFolder() {
        if (m_isKept) return;
        for (const auto& path : m_copies) (void)m_system.files.Delete(path);
    }

    Code Add(const MapiFileDesc& file) {
        const std::string source = file.lpszPathName;
        const auto info = m_system.files.Stat(source);
        if (!info || info->isFolder) return mapi::kAttachmentNotFound;
        const unsigned codePage = m_system.processes.CodePage();
        auto name = PlainFileName(file.lpszFileName == nullptr ? "" : file.lpszFileName, codePage);
        if (name.empty()) name = PlainFileName(source, codePage);
        (void)m_system.files.CreateFolder(m_folder);
        const auto status = CopyToFree(source, name, codePage);
        if (status) return mapi::kSuccess;
        return status.Error().context == source ? mapi::kAttachmentOpenFailure
                                                : mapi::kAttachmentWriteFailure;
    }

    const std::vector<std::string>& Paths() const { return m_copies; }
    void Keep() { m_isKept = true; }

  private:
    // Under that name, or with a number behind it.
    platform::Status CopyToFree(const std::string& source, const std::string& name,
                                unsigned codePage) {
        auto parts = platform::SplitPath(name, codePage);
        const std::string stem = parts.name;
        platform::Status status;
        for (int number = 0; number < kMostNames; ++number) {
            if (number > 0) parts.name = stem + std::to_string(number);
            auto path = m_folder + '\\' + platform::JoinPath(parts);
            status = m_system.files.Copy(source, path);
            if (status) m_copies.push_back(std::move(path));
            if (status || status.Error().code != platform::ErrorCode::kAlreadyExists) break;
        }
        return status;
    }

    platform::System m_system;
    std::string m_folder;
    std::vector<std::string> m_copies;
    bool m_isKept = false;
};

Code CopyAttachments(const MapiMessage& message, AttachFolder& folder) {
    if (message.lpFiles == nullptr) return mapi::kSuccess;
    for (std::uint32_t i = 0; i < message.nFileCount; ++i) {
        const auto& file = message.lpFiles[i];
        // An entry without a file stands for an attachment that never had one.
        if (file.lpszPathName == nullptr || *file.lpszPathName == '\0') continue;
        if (const Code code = folder.Add(file); code != mapi::kSuccess) return code;
    }
    return mapi::kSuccess;
}

std::string Cut(const std::string& text, unsigned codePage) {
    return text.substr(0, platform::WholeCharacterPrefix(text, kLongestListText, codePage));
}

}  // namespace

Code SendMail(const platform::System& system, const std::string& eudoraFolder,
              const MapiMessage& message) {
    if (const Code code = CheckRecipients(message); code != mapi::kSuccess) return code;
    AttachFolder attachments(system, eudoraFolder);
    if (const Code code = CopyAttachments(message, attachments); code != mapi::kSuccess) {
        return code;
    }
    Mailbox out(system);
    if (const Code code = out.Open(eudoraFolder, kOutBox); code != mapi::kSuccess) return code;
    const unsigned codePage = system.processes.CodePage();
    const auto now = system.clock.Now();
    mailstore::MsgBlock block;
    block.dwSeconds =
        static_cast<std::uint32_t>(std::chrono::system_clock::to_time_t(now) & 0xFFFFFFFF);
    block.wStatus = static_cast<std::uint16_t>(mailstore::MailState::kQueued);
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
