#include "eumapi/simple_mapi.h"

#include <optional>
#include <string_view>

#include "eumapi/mailbox.h"
#include "eumapi/send_mail.h"
#include "integration/locate/locate.h"
#include "mailbox/toc_records.h"
#include "platform/os/safe_write.h"

namespace eumapi {

namespace {

constexpr std::uint32_t kDialog = 0x8;  // of MAPISendMail

// Mails between people are all that there is here; every kind of them begins with IPM.
bool IsMailClass(const char* messageType) {
    const std::string_view type = messageType == nullptr ? "" : messageType;
    return type.empty() || type == "IPM" || type.starts_with("IPM.");
}

// Eudora's folder on this machine, as the registry names it, ending in a backslash. Nothing if the
// registry names none or there is no such folder.
std::optional<std::string> FindEudoraFolder(const platform::System& system) {
    auto folder = system.registry.ReadText(platform::RegistryRoot::kLocalMachine,
                                           locate::kAppPathsKey, locate::kAppPathsFolder);
    if (!folder || folder->empty()) return std::nullopt;
    const auto info = system.files.Stat(*folder);
    if (!info || !info->isFolder) return std::nullopt;
    return *folder + '\\';
}

// A count of blocks as large as it can be, and room for what may lie behind them.
constexpr std::uint64_t kLargestToc = 1u << 26;

Code PutIntoTrash(const platform::System& system, const std::string& eudoraFolder,
                  std::string_view text, const std::string& block) {
    Mailbox trash(system);
    const Code code = trash.Open(eudoraFolder, mailbox::kTrash);
    if (code != mapi::kSuccess) return code;
    const auto isThere = trash.Contains(mailbox::MailPlace::Decode(block).dwMsgId, text);
    if (!isThere) return CodeOf(isThere.Error());
    return *isThere ? mapi::kSuccess : trash.Append(text, block);
}

// The file's bytes without one block. What is counted stays counted, also a block that is cut
// short.
std::string WithoutBlock(std::string toc, std::uint32_t block) {
    auto header = mailbox::TocHeader::Decode(toc);
    --header.wNumberOfMsgs;
    toc.replace(0, mailbox::kTocHeaderSize, header.Encode());
    toc.erase(static_cast<std::size_t>(mailbox::BlockOffset(block)), mailbox::kMsgBlockSize);
    return toc;
}

// It is in the Trash, in full and on the disk, before the in-box's .toc file loses its block; the
// .mbx file keeps its bytes. After a failure the mail is in the in-box, and a second try does not
// put it into the Trash twice.
Code MoveToTrash(const platform::System& system, const std::string& eudoraFolder,
                 const MailIndex& index, MailReader& reader, const IndexedMail& mail) {
    auto toc = platform::ReadWhole(system.files, index.Path(), kLargestToc);
    if (!toc) return CodeOf(toc.Error());
    const auto at = static_cast<std::size_t>(mailbox::BlockOffset(mail.block));
    if (toc->size() < at + mailbox::kMsgBlockSize) return mapi::kFailure;
    const auto block = toc->substr(at, mailbox::kMsgBlockSize);
    if (mailbox::MailPlace::Decode(block).dwMsgId != mail.dwMsgId) return mapi::kFailure;
    const auto text = reader.ReadBytes(index, mail);
    if (!text) return CodeOf(text.Error());
    if (const Code code = PutIntoTrash(system, eudoraFolder, *text, block);
        code != mapi::kSuccess) {
        return code;
    }
    reader.LetGo();
    return CodeOf(platform::WriteWhole(system.files, index.Path(),
                                       WithoutBlock(*std::move(toc), mail.block)));
}

}  // namespace

SimpleMapi::InBox::InBox(const platform::System& system, std::string eudoraFolder)
    : folder(std::move(eudoraFolder)),
      index(system, folder + "In.toc"),
      reader(system, folder, folder + "In.mbx") {}

SimpleMapi::InBox* SimpleMapi::Find(mapi::Session session) {
    const auto found = m_sessions.find(session);
    return found == m_sessions.end() ? nullptr : found->second.get();
}

Code SimpleMapi::Logon(mapi::Session* session) {
    const std::lock_guard guard(m_mutex);
    if (session == nullptr) return mapi::kFailure;
    auto folder = FindEudoraFolder(m_system);
    if (!folder) return mapi::kLoginFailure;
    if (!m_run) m_run = std::make_unique<RunMark>(m_system);
    m_sessions[++m_lastSession] = std::make_unique<InBox>(m_system, *std::move(folder));
    *session = m_lastSession;
    return mapi::kSuccess;
}

Code SimpleMapi::Logoff(mapi::Session session) {
    const std::lock_guard guard(m_mutex);
    if (m_sessions.erase(session) == 0) return mapi::kInvalidSession;
    if (m_sessions.empty()) m_run.reset();
    return mapi::kSuccess;
}

Code SimpleMapi::FindNext(mapi::Session session, const char* messageType, const char* seed,
                          std::uint32_t flags, char* messageId) {
    const std::lock_guard guard(m_mutex);
    InBox* inBox = Find(session);
    if (inBox == nullptr) return mapi::kInvalidSession;
    if (messageId == nullptr) return mapi::kFailure;
    if (!IsMailClass(messageType)) return mapi::kNoMessages;
    if (const Code code = inBox->index.Refresh(); code != mapi::kSuccess) return code;
    std::size_t at = 0;
    if (seed != nullptr && *seed != '\0') {
        const auto id = mailbox::ExactMsgIdOf(seed);
        const auto behind = id ? inBox->index.Behind(*id) : std::nullopt;
        if (!behind) return mapi::kInvalidMessage;
        at = *behind;
    }
    const auto& mails = inBox->index.Mails();
    const bool unreadOnly = (flags & mapi::kUnreadOnly) != 0;
    while (unreadOnly && at < mails.size() && mails[at].wStatus != 0) ++at;
    if (at == mails.size()) {
        inBox->reader.LetGo();
        return mapi::kNoMessages;
    }
    const auto name = mailbox::IndexIdOf(mails[at].dwMsgId);
    messageId[name.copy(messageId, name.size())] = '\0';
    return mapi::kSuccess;
}

const IndexedMail* SimpleMapi::FindMail(InBox& inBox, const char* messageId, Code& code) {
    const auto id = messageId == nullptr ? std::nullopt : mailbox::ExactMsgIdOf(messageId);
    code = id ? inBox.index.Refresh() : mapi::kInvalidMessage;
    if (code != mapi::kSuccess) return nullptr;
    const IndexedMail* mail = inBox.index.Find(*id);
    if (mail == nullptr) code = mapi::kInvalidMessage;
    return mail;
}

Code SimpleMapi::ReadMail(mapi::Session session, const char* messageId, std::uint32_t flags,
                          MapiMessage** message) {
    const std::lock_guard guard(m_mutex);
    InBox* inBox = Find(session);
    if (inBox == nullptr) return mapi::kInvalidSession;
    if (message == nullptr) return mapi::kFailure;
    *message = nullptr;
    Code code;
    const IndexedMail* mail = FindMail(*inBox, messageId, code);
    if (mail == nullptr) return code;
    AttachmentCopies copies(m_system);
    MessageRecord record;
    code = inBox->reader.Read(inBox->index, *mail, flags, copies, record);
    if (code != mapi::kSuccess) return code;
    // A mail turns read only when nothing stands between it and the caller.
    MapiMessage* const made = m_buffers.Make(std::move(record));
    if ((flags & mapi::kPeek) == 0) code = inBox->index.MarkRead(*mail);
    if (code != mapi::kSuccess) {
        m_buffers.Free(made);
        return code;
    }
    *message = made;
    copies.HandOver();
    return mapi::kSuccess;
}

Code SimpleMapi::FreeBuffer(void* buffer) {
    const std::lock_guard guard(m_mutex);
    return buffer == nullptr || m_buffers.Free(buffer) ? mapi::kSuccess : mapi::kFailure;
}

Code SimpleMapi::DeleteMail(mapi::Session session, const char* messageId) {
    const std::lock_guard guard(m_mutex);
    InBox* inBox = Find(session);
    if (inBox == nullptr) return mapi::kInvalidSession;
    Code code;
    const IndexedMail* mail = FindMail(*inBox, messageId, code);
    if (mail == nullptr) return code;
    return MoveToTrash(m_system, inBox->folder, inBox->index, inBox->reader, *mail);
}

Code SimpleMapi::SendMail(mapi::Session session, const MapiMessage* message, std::uint32_t flags) {
    const std::lock_guard guard(m_mutex);
    const InBox* inBox = Find(session);
    if (inBox == nullptr && session != 0) return mapi::kInvalidSession;
    const auto folder =
        inBox != nullptr ? std::optional(inBox->folder) : FindEudoraFolder(m_system);
    if (!folder) return mapi::kLoginFailure;
    if (message == nullptr) return mapi::kFailure;
    if ((flags & kDialog) != 0) return mapi::kNotSupported;
    return eumapi::SendMail(m_system, *folder, *message);
}

}  // namespace eumapi
