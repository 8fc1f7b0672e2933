#include "eumapi/send_mail.h"

#include <algorithm>
#include <chrono>
#include <new>
#include <string_view>
#include <vector>

#include "eumapi/mailbox.h"
#include "platform/os/not_copied.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/path.h"

namespace eumapi {

namespace {

using platform::ErrorCode;
using platform::Failure;
using platform::Status;
using TimePoint = std::chrono::system_clock::time_point;

constexpr const char* kEnd = "\r\n";

// Text of a caller for one header line: null is empty, and no byte of it begins a line of its own.
std::string HeaderText(const char* text) {
    std::string line = text == nullptr ? "" : text;
    std::ranges::replace_if(
        line, [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return line;
}

// The address of a recipient or sender without "SMTP:"; the name if it has none; empty if there is
// neither.
std::string AddressOf(const MapiRecipDesc& recipient) {
    std::string address = HeaderText(recipient.lpszAddress);
    if (address.empty()) address = HeaderText(recipient.lpszName);
    return std::string(mapi::WithoutTransport(address));
}

// "Name <address>", the name in quotes if it has anything but letters that need none.
std::string NamedAddress(const MapiRecipDesc& recipient) {
    std::string address = AddressOf(recipient);
    std::string name = HeaderText(recipient.lpszName);
    if (name.empty() || name == address || mapi::WithoutTransport(name) == address) return address;
    if (name.find_first_of("\"(),.:;<>@[\\]") != std::string::npos) {
        std::erase_if(name, [](char letter) { return letter == '"' || letter == '\\'; });
        name = '"' + name + '"';
    }
    return name + " <" + address + ">";
}

std::string RecipientLine(const char* label, const MapiMessage& message,
                          std::uint32_t recipientClass) {
    std::string list;
    for (const auto& recipient : mapi::Recipients(message)) {
        if (recipient.ulRecipClass != recipientClass) continue;
        if (!list.empty()) list += ", ";
        list += NamedAddress(recipient);
    }
    return list.empty() ? "" : label + list + kEnd;
}

// Each line has an end, the last one too.
std::string WithLineEnds(const char* text) {
    std::string lines = text::WithCrLf(text == nullptr ? "" : text);
    if (!lines.empty() && !lines.ends_with('\n')) lines += kEnd;
    return lines;
}

// A semicolon ends an entry; a path that has one stands in quotes, which no path can have.
std::string AttachmentsLine(const std::vector<std::string>& attachments) {
    if (attachments.empty()) return {};
    std::string line = "X-Attachments: ";
    for (const auto& path : attachments) {
        const bool isPlain = path.find(';') == path.npos;
        line += (isPlain ? path : '"' + path + '"') + ';';
    }
    return line + kEnd;
}

// A mail as Eudora's out-box holds it, every line ended by CR LF: separator line, header, empty
// line, text. Eudora attaches the files that the line X-Attachments names when it sends the mail.
std::string OutgoingText(const MapiMessage& message, const std::vector<std::string>& attachments,
                         TimePoint now, platform::Clock& clock) {
    const auto local = text::CivilTime(now, clock.UtcOffset(now));
    std::string text = text::Format(
        "From ???@??"
        "? %a %b %d %H:%M:%S %Y\r\n",
        local);
    text += text::Format("Date: %a, %d %b %Y %H:%M:%S ", local);
    text += text::ZoneText(clock.UtcOffset(now)) + kEnd;
    text += RecipientLine("To: ", message, mapi::kTo);
    text += RecipientLine("Cc: ", message, mapi::kCc);
    text += RecipientLine("Bcc: ", message, mapi::kBcc);
    if (message.lpOriginator != nullptr && !AddressOf(*message.lpOriginator).empty()) {
        text += "From: " + NamedAddress(*message.lpOriginator) + kEnd;
    }
    text += "Subject: " + HeaderText(message.lpszSubject) + kEnd;
    text += AttachmentsLine(attachments);
    text += kEnd;
    return text + WithLineEnds(message.lpszNoteText);
}

// The date that Eudora's list of mails shows.
std::string ListDate(TimePoint now, platform::Clock& clock) {
    const auto local = text::CivilTime(now, clock.UtcOffset(now));
    const bool isLate =
        local - std::chrono::floor<std::chrono::days>(local) >= std::chrono::hours(12);
    return text::Format(isLate ? "%I:%M PM %-m/%-d/%Y " : "%I:%M AM %-m/%-d/%Y ", local) +
           text::ZoneText(clock.UtcOffset(now));
}

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

bool IsTaken(const Status& status) {
    return !status && status.Error().code == ErrorCode::kAlreadyExists;
}

// The attachments of one mail for the out-box: copies in Eudora's folder Attach under the names
// that recipients are to see. A name that is taken there gets a folder of its own below. The
// destructor deletes them again unless they are kept.
class OutgoingFiles : platform::NotCopied {
  public:
    OutgoingFiles(const platform::System& system, const std::string& eudoraFolder)
        : m_system(system), m_attach(eudoraFolder + "Attach\\") {}
    ~OutgoingFiles() {
        if (m_isKept) return;
        try {
            for (const auto& path : m_paths) (void)m_system.files.Delete(path);
            for (const auto& folder : m_ownFolders) (void)m_system.files.RemoveFolder(folder);
        } catch (const std::bad_alloc&) {
            // As good as files that cannot be deleted.
        }
    }

    Code Add(const MapiFileDesc& file) {
        // An entry without a file stands for an attachment that never had one.
        if (file.lpszPathName == nullptr || *file.lpszPathName == '\0') return mapi::kSuccess;
        const std::string source = file.lpszPathName;
        const auto info = m_system.files.Stat(source);
        if (!info || info->isFolder) return mapi::kAttachmentNotFound;
        const unsigned codePage = m_system.codePage;
        const char* wanted = file.lpszFileName == nullptr ? "" : file.lpszFileName;
        auto name = text::PlainNameIn(wanted, codePage);
        if (name.empty()) name = text::PlainNameIn(source, codePage);
        if (name.empty() || !MakeFile(name)) return mapi::kAttachmentWriteFailure;
        const auto status = platform::CopyInto(m_system.files, source, m_paths.back());
        if (status) return mapi::kSuccess;
        return status.Error().context == source ? mapi::kAttachmentOpenFailure
                                                : mapi::kAttachmentWriteFailure;
    }

    const std::vector<std::string>& Paths() const { return m_paths; }
    void Keep() { m_isKept = true; }

  private:
    Status MakeFile(const std::string& name) {
        (void)m_system.files.CreateFolder(m_attach);
        Status status = MakeFileIn(m_attach, name);
        for (std::size_t i = 0; IsTaken(status); ++i) {
            if (i == m_ownFolders.size()) status = MakeOwnFolder();
            if (i < m_ownFolders.size()) status = MakeFileIn(m_ownFolders[i], name);
        }
        return status;
    }

    // Makes a file and notes it for removal. Room for the note comes first, so that a lack of
    // memory leaves no file behind; a file that was there before is not noted.
    Status MakeFileIn(const std::string& folder, const std::string& name) {
        std::string path = folder + name;
        if (path.size() > text::kLongestPath) return Failure{ErrorCode::kTooLarge, path};
        m_paths.reserve(m_paths.size() + 1);
        const auto file =
            m_system.files.Open(path, platform::OpenMode::kCreateNew, platform::Share::kNone);
        if (!file) return file.Error();
        m_paths.push_back(std::move(path));
        return {};
    }

    // A number that no other mail's folder is likely to have.
    Status MakeOwnFolder() {
        m_ownFolders.reserve(m_ownFolders.size() + 1);
        for (auto number = std::chrono::system_clock::to_time_t(m_system.clock.Now());; ++number) {
            std::string folder = m_attach + std::to_string(number) + '\\';
            Status status = m_system.files.CreateFolder(folder);
            if (IsTaken(status)) continue;
            if (status) m_ownFolders.push_back(std::move(folder));
            return status;
        }
    }

    platform::System m_system;
    std::string m_attach;
    std::vector<std::string> m_ownFolders, m_paths;
    bool m_isKept = false;
};

}  // namespace

Code SendMail(const platform::System& system, const std::string& eudoraFolder, Mailbox& outBox,
              const MapiMessage& message) {
    OutgoingFiles attachments(system, eudoraFolder);
    Code code = CheckRecipients(message);
    for (const auto& file : mapi::Files(message)) {
        if (code == mapi::kSuccess) code = attachments.Add(file);
    }
    const ClosedAtEnd closed(outBox);
    if (code == mapi::kSuccess) code = outBox.Open();
    if (code != mapi::kSuccess) return code;
    const auto now = system.clock.Now();
    // The out-box lists whom a mail goes to.
    auto block =
        mailbox::NewMsgBlock(AddressOf(message.lpRecips[0]), HeaderText(message.lpszSubject),
                             !attachments.Paths().empty(), system.codePage);
    block.dwSeconds =
        static_cast<std::uint32_t>(std::chrono::system_clock::to_time_t(now) & 0xFFFFFFFF);
    block.wStatus = static_cast<std::uint16_t>(mailbox::MailState::kQueued);
    block.szDate = ListDate(now, system.clock);
    block.dwMsgId = outBox.FreeId();
    const std::string bytes = block.Encode();
    const auto appended = outBox.Append({&bytes, 1}, [&](std::size_t, std::string& out) {
        out += OutgoingText(message, attachments.Paths(), now, system.clock);
        return mapi::kSuccess;
    });
    if (appended.count == 1) attachments.Keep();
    return appended.count == 1 ? mapi::kSuccess : appended.code;
}

}  // namespace eumapi
