#include "mapi/mapi.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <utility>

#include "platform/kvutil/kvutil.h"
#include "platform/kvutil/kvutil_core.h"
#include "text/ascii.h"

namespace {

constexpr int kTries = 10;
constexpr int kTrace = 4;  // log level of the cursor

enum : int { kFailed = -1, kNone = 0, kFound = 1 };

// Statuses of mails: the kind, and a bit beside it.
constexpr std::uint32_t kKindMask = 0xFFFF, kReceived = 1, kToSend = 2, kSentKind = 4;
constexpr std::uint32_t kReadBit = 0x20000;

std::uint32_t Kind(std::uint32_t status) {
    return status & kKindMask;
}

// The flags of a message of that status; a status of another kind stays.
std::uint32_t FlagsOfStatus(std::uint32_t status) {
    const auto kind = Kind(status);
    if (kind == kReceived) return (status & kReadBit) != 0 ? 0 : mapi::kUnread;
    if (kind == kToSend) return 0;
    return kind == kSentKind ? mapi::kSent : status;
}

int ReadResult(std::uint32_t error) {
    return error == mapi::kSuccess ? kFound : kFailed;
}

int FindResult(std::uint32_t error) {
    return error == mapi::kNoMessages ? kNone : ReadResult(error);
}

void FreeTexts(const MapiRecipDesc& recipient) {
    delete[] recipient.lpszName;
    delete[] recipient.lpszAddress;
    delete[] static_cast<char*>(recipient.lpEntryID);
}

std::optional<std::string> TextOf(const char* text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

// The text between "<" and ">" in the originator's name, or the whole name without brackets. As for
// strtok several brackets in a row count as one.
std::optional<std::string> OriginatorOf(const MapiMessage& message) {
    const MapiRecipDesc* const originator = message.lpOriginator;
    auto name = mapi::ViewOf(originator != nullptr ? originator->lpszName : nullptr);
    auto outside = text::TakeToken(name, "<");
    if (!outside) return std::nullopt;
    auto address = text::TakeToken(name, ">");
    if (!address) address = text::TakeToken(*outside, ">");
    return address ? std::optional<std::string>(*address) : std::nullopt;
}

std::optional<std::string> RecipientsOf(const MapiMessage& message, std::uint32_t recipientClass) {
    std::optional<std::string> list;
    for (const MapiRecipDesc& recipient : mapi::Recipients(message)) {
        if (recipient.ulRecipClass != recipientClass || recipient.lpszAddress == nullptr) continue;
        list = list ? *list + "; " : std::string();
        *list += mapi::WithoutTransport(recipient.lpszAddress);
    }
    return list;
}

// Notices a walk that comes round to an id it has passed, as in a mailbox that holds an id twice:
// the library would go round for ever. Remembers one id, from places that lie twice as far apart
// each time.
class RoundTrip {
  public:
    bool ComesRound(const std::string& id) {
        if (m_passed == id) return true;
        if (++m_steps < m_reach) return false;
        m_passed = id;
        m_reach *= 2;
        m_steps = 0;
        return false;
    }

  private:
    std::optional<std::string> m_passed;
    std::uint64_t m_steps = 0, m_reach = 1;
};

}  // namespace

// Up to Windows NT 3.51 the profile tells, later systems have the registry.
bool CMapi::IsMapiAvailable() {
    constexpr const char* kKey = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
    constexpr std::size_t kFlagSize = 8;  // of the registry text, with its closing zero
    const auto version = m_system.processes.Version();
    if (!version) return false;
    if (std::pair(version->major, version->minor) <= std::pair(3U, 51U)) {
        return m_system.processes.ProfileNumber("Mail", "MAPI", 0) != 0;
    }
    const auto flag = kvutil::ReadBoundedText(
        m_system.registry, platform::RegistryRoot::kLocalMachine, kKey, "MAPI", kFlagSize);
    return flag && *flag == "1";
}

int CMapi::LoadMapiLibrary(const char* folder) {
    if (!IsMapiAvailable()) {
        m_ulLastError = kNotAvailable;
        return 0;
    }
    auto library = m_system.libraries.Load(std::string(folder) + "\\EUMAPI32.DLL");
    if (!library) {
        m_ulLastError = kNotLoaded;
        return 0;
    }
    mapi::EntryPoints found;
    const bool complete = found.Find(**library);
    // A second translator loads the same library again: session and current message live on in it.
    // Another library cannot free what this one has made.
    constexpr auto kFree = mapi::Entry::kFreeBuffer;
    if (m_entries.Get<void*>(kFree) != found.Get<void*>(kFree)) ReleaseCurrent();
    m_entries = found;
    m_hMapiLib = std::move(*library);
    return complete ? 1 : 0;
}

int CMapi::MapiLogon() {
    if (m_lhSession != 0) return 0;
    m_ulLastError = Call<mapi::LogonFn>(mapi::Entry::kLogon, 0, nullptr, nullptr,
                                        mapi::kLogonUi | mapi::kNewSession, 0, &m_lhSession);
    if (m_ulLastError == 0) return 1;
    m_lhSession = 0;
    return 0;
}

void CMapi::MapiLogoff() {
    if (m_lhSession == 0) return;
    ReleaseCurrent();
    Call<mapi::LogoffFn>(mapi::Entry::kLogoff, m_lhSession, 0, 0, 0);
    m_lhSession = 0;
}

void CMapi::UnloadMapiLibrary() {
    ReleaseCurrent();
    m_hMapiLib.reset();
}

void CMapi::PeekQueue() {
    const auto waiting = m_system.windows.PeekMessages();
    if (waiting) {
        KV_LOG(kTrace, "                   PeekNessage ->  %d\n", static_cast<int>(*waiting));
    }
}

void CMapi::Yield() {
    m_system.clock.Sleep(std::chrono::milliseconds(0));
}

bool CMapi::WorthAnotherTry() {
    if (m_ulLastError == mapi::kSuccess) return false;
    KV_LOG(kTrace, "                   Error = %d\n", static_cast<int>(m_ulLastError));
    if (m_ulLastError != mapi::kFailure) return false;
    PeekQueue();
    return true;
}

int CMapi::FindNextMail(const std::optional<std::string>& seed) {
    PeekQueue();
    for (int count = 1; count <= kTries; ++count) {
        if (seed) KV_LOG(kTrace, "              -%d- MAPIFindNext(%s)\n", count, seed->c_str());
        char id[mapi::kMessageIdSize] = {};
        m_szMsgID.copy(id, sizeof id - 1);
        m_ulLastError = Call<mapi::FindNextFn>(mapi::Entry::kFindNext, m_lhSession, 0, nullptr,
                                               seed ? seed->c_str() : nullptr,
                                               mapi::kGuaranteeFifo | mapi::kLongMessageId, 0, id);
        id[sizeof id - 1] = '\0';
        m_szMsgID = id;
        if (!WorthAnotherTry()) break;
    }
    if (m_ulLastError == mapi::kSuccess) m_isNamed = false;
    return FindResult(m_ulLastError);
}

int CMapi::ReadCurrentMail() {
    PeekQueue();
    for (int count = 1; count <= kTries; ++count) {
        ReleaseCurrent();
        KV_LOG(kTrace, "                   -%d- MAPIReadMail(%s)\n", count, MsgID());
        MapiMessage* message = nullptr;
        m_ulLastError = Call<mapi::ReadMailFn>(mapi::Entry::kReadMail, m_lhSession, 0, MsgID(),
                                               mapi::kPeek, 0, &message);
        // A pointer that a failed call has set is not used.
        if (m_ulLastError == mapi::kSuccess && message != nullptr) {
            Arrive(message, Owner::kLibrary);
        }
        if (!WorthAnotherTry()) break;
        Yield();
    }
    Yield();
    return ReadResult(m_ulLastError);
}

void CMapi::Arrive(MapiMessage* message, Owner owner) {
    m_lpMessage = message;
    m_owner = owner;
    m_isNamed = !m_szMsgID.empty();
    m_flags = message->flFlags;
    m_editStatus.reset();
}

int CMapi::FindAndRead(const std::optional<std::string>& seed) {
    const int found = FindNextMail(seed);
    return found == kFound ? ReadCurrentMail() : found;
}

int CMapi::MoveFirst() {
    KV_LOG(kTrace, "--- Enter --- CMapi::MoveFirst\n");
    m_bSeekValid = false;
    const int result = FindAndRead(std::nullopt);
    KV_LOG(kTrace, "--- Exit --- CMapi::MoveFirst\n");
    return result;
}

int CMapi::MoveNext() {
    KV_LOG(kTrace, "--- Enter --- CMapi::MoveNext\n");
    if (m_ulLastError == mapi::kNoMessages) return kNone;
    const int result = FindAndRead(m_szMsgID);
    KV_LOG(kTrace, "--- Exit --- CMapi::MoveNext\n");
    return result;
}

void CMapi::WalkTo(const std::string& target, std::string seed) {
    RoundTrip trip;
    while (target != m_szMsgID) {
        if (FindNextMail(seed) != kFound) return;
        if (target != m_szMsgID && trip.ComesRound(m_szMsgID)) m_ulLastError = mapi::kNoMessages;
        if (m_ulLastError == mapi::kNoMessages) return;
        seed = m_szSeekFirst = m_szMsgID;
        ConfirmSeek();
        Yield();
    }
}

std::optional<int> CMapi::Seek(const std::string& target) {
    KV_LOG(kTrace, "--- Enter --- CMapi::GoToEmail\n");
    const int first = FindNextMail(std::nullopt);
    if (first != kFound) return first;
    if (m_bSeekValid) KV_LOG(kTrace, "              * Seek First = %s\n", m_szSeekFirst.c_str());
    WalkTo(target, m_bSeekValid ? m_szSeekFirst : m_szMsgID);
    if (m_ulLastError == mapi::kNoMessages) return std::nullopt;
    if (m_ulLastError != mapi::kSuccess) return kFailed;
    const int result = ReadCurrentMail();
    KV_LOG(kTrace, "--- Exit --- CMapi::GoToEmail\n");
    return result;
}

int CMapi::GoToEmail(const char* target) {
    const std::string wanted(mapi::ViewOf(target));  // which may be our own id
    if (const auto result = Seek(wanted)) return *result;
    KV_LOG(kTrace, "              * Fail GoToEmail -> Retry!!\n");
    m_bSeekValid = false;
    return Seek(wanted).value_or(kNone);
}

int CMapi::GetCurrentMessage(MapiMessage*& message) {
    message = m_lpMessage;
    return message != nullptr ? 1 : 0;
}

void CMapi::SetMsgID(const char* id) {
    m_szMsgID = mapi::ViewOf(id).substr(0, mapi::kMessageIdSize - 1);
    m_isNamed = false;
}

void CMapi::NoteSeek() {
    if (!m_bSeekValid) m_szSeekFirst = m_szMsgID;
}

std::optional<std::string> CMapi::MailText(MailField field) const {
    if (m_lpMessage == nullptr) return std::nullopt;
    switch (field) {
        case MailField::kFrom:
            return OriginatorOf(*m_lpMessage);
        case MailField::kTo:
            return RecipientsOf(*m_lpMessage, mapi::kTo);
        case MailField::kCc:
            return RecipientsOf(*m_lpMessage, mapi::kCc);
        case MailField::kBcc:
            return RecipientsOf(*m_lpMessage, mapi::kBcc);
        case MailField::kSubject:
            return TextOf(m_lpMessage->lpszSubject);
        default:
            return std::nullopt;
    }
}

void CMapi::SetMailStatus(std::uint32_t status) {
    if (m_lpMessage != nullptr) m_editStatus = m_lpMessage->flFlags = status;
}

std::optional<std::uint32_t> CMapi::FinishEdit() {
    const auto status = std::exchange(m_editStatus, std::nullopt);
    if (status) m_flags = (*status & kReadBit) != 0 ? 0 : mapi::kUnread;
    return status;
}

int CMapi::UpdateMail(MapiMessage* record) {
    if (record == nullptr) {
        m_ulLastError = mapi::kInvalidMessage;
        return kFailed;
    }
    m_ulLastError = 0;
    const std::uint32_t status = record->flFlags;
    record->flFlags = FlagsOfStatus(status);
    KV_LOG(5, "CMapi::UpdateMail : MailStatus %x -> %x", status, record->flFlags);
    KV_LOG(5, "CMapi::UpdateMail : m_szMsgID = %s", MsgID());
    if (Kind(status) == kToSend) Send(*record);
    if (m_ulLastError != 0) return kFailed;
    const bool isShownAgain = m_lpMessage == record;
    if (!isShownAgain) ReleaseCurrent();
    Arrive(record, isShownAgain ? m_owner : Owner::kQueue);
    return kFound;
}

void CMapi::Send(MapiMessage& record) {
    ClearMsgID();
    m_ulLastError = Call<mapi::SendMailFn>(mapi::Entry::kSendMail, m_lhSession, 0, &record, 0, 0);
    _DeleteAttachments(&record);
}

int CMapi::DeleteMail() {
    m_ulLastError =
        Call<mapi::DeleteMailFn>(mapi::Entry::kDeleteMail, m_lhSession, 0, MsgID(), 0, 0);
    if (m_ulLastError != 0) return kFailed;
    m_isNamed = false;
    return kFound;
}

void CMapi::ReleaseCurrent() {
    MapiMessage* const message = std::exchange(m_lpMessage, nullptr);
    if (message == nullptr || m_owner != Owner::kLibrary) return;
    _DeleteAttachments(message);
    Call<mapi::FreeBufferFn>(mapi::Entry::kFreeBuffer, message);
}

void CMapi::ReleaseBorrowed(const MapiMessage* record) {
    if (m_lpMessage == record && m_owner == Owner::kQueue) m_lpMessage = nullptr;
}

int CMapi::AllocMessage(MapiMessage*& record) {
    record = new (std::nothrow) MapiMessage{};
    return record != nullptr ? 1 : 0;
}

int CMapi::FreeMessage(MapiMessage* record, bool keepFiles) {
    if (record == nullptr) return 0;
    ReleaseBorrowed(record);
    for (char* text : {record->lpszSubject, record->lpszNoteText, record->lpszMessageType,
                       record->lpszDateReceived, record->lpszConversationID}) {
        delete[] text;
    }
    if (record->lpOriginator != nullptr) FreeTexts(*record->lpOriginator);
    delete record->lpOriginator;
    for (const MapiRecipDesc& recipient : mapi::Recipients(*record)) {
        FreeTexts(recipient);
    }
    delete[] record->lpRecips;
    for (const MapiFileDesc& file : mapi::Files(*record)) {
        if (!keepFiles) DeleteFileOf(file);
        delete[] file.lpszPathName;
        delete[] file.lpszFileName;
        delete[] static_cast<char*>(file.lpFileType);
    }
    delete[] record->lpFiles;
    delete record;
    return 1;
}

// A file that cannot be deleted stays, for want of memory too: the records have to be freed.
bool CMapi::DeleteFileOf(const MapiFileDesc& file) noexcept {
    try {
        if (file.lpszPathName == nullptr || !m_system.files.Exists(file.lpszPathName)) return false;
        (void)m_system.files.Delete(file.lpszPathName);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void CMapi::_DeleteAttachments(const MapiMessage* record) {
    KV_LOG(5, "- Enter - CMapi:: _DeleteAttachments\n");
    if (record == nullptr) return;
    for (const MapiFileDesc& file : mapi::Files(*record)) {
        if (DeleteFileOf(file)) KV_LOG(5, "          - %s\n", file.lpszPathName);
        Yield();
    }
    KV_LOG(5, "- Exit - CMapi:: _DeleteAttachments\n");
}

void CMapi::DeleteCurrentAttachments() {
    if (m_lpMessage != nullptr && m_owner == Owner::kLibrary) _DeleteAttachments(m_lpMessage);
}
