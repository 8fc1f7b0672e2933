#include "eumapi/simple_mapi.h"

#include <new>
#include <optional>
#include <string_view>

#include "eumapi/mail_reader.h"
#include "eumapi/send_mail.h"
#include "integration/locate/locate.h"
#include "mailbox/toc_records.h"

namespace eumapi {

namespace {

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

}  // namespace

SimpleMapi::~SimpleMapi() {
    while (!m_sessions.empty()) {
        try {
            (void)Logoff(m_sessions.begin()->first);
        } catch (const std::bad_alloc&) {
            // Its mails stay where they are.
        }
    }
}

SimpleMapi::Session* SimpleMapi::Find(mapi::Session session) {
    const auto found = m_sessions.find(session);
    return found == m_sessions.end() ? nullptr : &found->second;
}

Code SimpleMapi::Logon(mapi::Session* session) {
    if (session == nullptr) return mapi::kFailure;
    auto folder = FindEudoraFolder(m_system);
    if (!folder) return mapi::kLoginFailure;
    if (!m_run) m_run = std::make_unique<RunMark>(m_system);
    m_sessions.try_emplace(++m_lastSession, Session{InBox(m_system, *folder),
                                                    Mailbox(m_system, *folder, mailbox::kOutBox)});
    *session = m_lastSession;
    return mapi::kSuccess;
}

Code SimpleMapi::Logoff(mapi::Session session) {
    auto closing = m_sessions.extract(session);
    if (closing.empty()) return mapi::kInvalidSession;
    if (m_sessions.empty()) m_run.reset();
    return closing.mapped().inBox.CarryOutRemovals();
}

Code SimpleMapi::FindNext(mapi::Session session, const char* messageType, const char* seed,
                          mapi::Flags flags, char* messageId) {
    Session* const found = Find(session);
    if (found == nullptr) return mapi::kInvalidSession;
    if (messageId == nullptr) return mapi::kFailure;
    if (!IsMailClass(messageType)) return mapi::kNoMessages;
    InBox* const inBox = &found->inBox;
    if (const Code code = inBox->Refresh(); code != mapi::kSuccess) return code;
    std::size_t at = 0;
    if (seed != nullptr && *seed != '\0') {
        const auto id = mailbox::ExactMsgIdOf(seed);
        const auto behind = id ? inBox->Behind(*id) : std::nullopt;
        if (!behind) return mapi::kInvalidMessage;
        at = *behind;
    }
    const auto& mails = inBox->Mails();
    const bool unreadOnly = (flags & mapi::kUnreadOnly) != 0;
    at = inBox->StayingFrom(at);
    while (unreadOnly && at < mails.size() && mails[at].wStatus != 0) {
        at = inBox->StayingFrom(at + 1);
    }
    if (at == mails.size()) {
        inBox->LetGo();
        return mapi::kNoMessages;
    }
    const auto name = mailbox::IndexIdOf(mails[at].dwMsgId);
    messageId[name.copy(messageId, name.size())] = '\0';
    return mapi::kSuccess;
}

Code SimpleMapi::FindMail(mapi::Session session, const char* messageId, InBox*& inBox,
                          const IndexedMail*& mail) {
    Session* const found = Find(session);
    if (found == nullptr) return mapi::kInvalidSession;
    inBox = &found->inBox;
    const auto id = messageId == nullptr ? std::nullopt : mailbox::ExactMsgIdOf(messageId);
    if (!id) return mapi::kInvalidMessage;
    const Code code = inBox->Refresh();
    mail = code == mapi::kSuccess ? inBox->Find(*id) : nullptr;
    return code != mapi::kSuccess || mail != nullptr ? code : mapi::kInvalidMessage;
}

Code SimpleMapi::ReadMail(mapi::Session session, const char* messageId, mapi::Flags flags,
                          MapiMessage** message) {
    InBox* inBox = nullptr;
    const IndexedMail* mail = nullptr;
    if (message == nullptr) return Find(session) ? mapi::kFailure : mapi::kInvalidSession;
    *message = nullptr;
    Code code = FindMail(session, messageId, inBox, mail);
    if (code != mapi::kSuccess) return code;
    auto record = std::make_unique<MessageRecord>(m_system);
    code = eumapi::ReadMail(m_system, *inBox, *mail, flags, *record);
    if (code != mapi::kSuccess) return code;
    // A mail turns read only when nothing stands between it and the caller.
    MapiMessage* const made = record->Describe();
    decltype(m_messages) held;
    AttachmentCopies& files = held.emplace(made, std::move(record)).first->second->files;
    if ((flags & mapi::kPeek) == 0) code = inBox->MarkRead(*mail);
    if (code != mapi::kSuccess) return code;
    files.HandOver();
    m_messages.merge(held);
    *message = made;
    return mapi::kSuccess;
}

Code SimpleMapi::FreeBuffer(void* buffer) {
    return buffer == nullptr || m_messages.erase(buffer) == 1 ? mapi::kSuccess : mapi::kFailure;
}

Code SimpleMapi::DeleteMail(mapi::Session session, const char* messageId) {
    InBox* inBox = nullptr;
    const IndexedMail* mail = nullptr;
    const Code code = FindMail(session, messageId, inBox, mail);
    return code == mapi::kSuccess ? inBox->Remove(*mail) : code;
}

Code SimpleMapi::SendMail(mapi::Session session, const MapiMessage* message, mapi::Flags flags) {
    Session* const found = Find(session);
    if (found == nullptr && session != 0) return mapi::kInvalidSession;
    const auto folder =
        found != nullptr ? std::optional(found->inBox.Folder()) : FindEudoraFolder(m_system);
    if (!folder) return mapi::kLoginFailure;
    if (message == nullptr) return mapi::kFailure;
    if ((flags & mapi::kDialog) != 0) return mapi::kNotSupported;
    if (found != nullptr) return eumapi::SendMail(m_system, *folder, found->outBox, *message);
    Mailbox outBox(m_system, *folder, mailbox::kOutBox);
    return eumapi::SendMail(m_system, *folder, outBox, *message);
}

}  // namespace eumapi
