#include <chrono>
#include <optional>
#include <string>

#include "mapi/mapi.h"
#include "platform/kvutil/kvutil.h"

namespace {

constexpr int kTries = 10;
constexpr int kTrace = 4;  // log level of the cursor

enum : int { kFailed = -1, kNone = 0, kFound = 1 };

int ReadResult(std::uint32_t error) {
    return error == mapi::kSuccess ? kFound : kFailed;
}

int FindResult(std::uint32_t error) {
    return error == mapi::kNoMessages ? kNone : ReadResult(error);
}

std::string TextOf(const char* text) {
    return text != nullptr ? text : "";
}

// Notices a walk that comes round to an id it has passed, as in a mailbox that holds an id twice:
// the library would go round for ever. Remembers one id, from places that lie twice as far apart
// each time.
class RoundTrip {
  public:
    bool ComesRound(const char* id) {
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

int CMapi::FindNextMail(const char* seed) {
    // The library writes to m_szMsgID, which may be the seed.
    mapi::MessageIdText seedId;
    mapi::CopyMessageId(seedId, seed);
    PeekQueue();
    for (int count = 1; count <= kTries; ++count) {
        if (seed != nullptr) {
            KV_LOG(kTrace, "              -%d- MAPIFindNext(%s)\n", count, seedId);
        }
        m_ulLastError = Call<mapi::FindNextFn>(
            mapi::Entry::kFindNext, m_lhSession, 0, nullptr, seed != nullptr ? seedId : nullptr,
            mapi::kGuaranteeFifo | mapi::kLongMessageId, 0, m_szMsgID);
        m_szMsgID[mapi::kMessageIdSize - 1] = '\0';
        if (!WorthAnotherTry()) break;
    }
    if (m_ulLastError == mapi::kSuccess) m_isNamed = false;
    return FindResult(m_ulLastError);
}

int CMapi::ReadCurrentMail() {
    PeekQueue();
    for (int count = 1; count <= kTries; ++count) {
        ReleaseCurrent();
        KV_LOG(kTrace, "                   -%d- MAPIReadMail(%s)\n", count, m_szMsgID);
        MapiMessage* message = nullptr;
        m_ulLastError = Call<mapi::ReadMailFn>(mapi::Entry::kReadMail, m_lhSession, 0, m_szMsgID,
                                               mapi::kPeek, 0, &message);
        // What a failed call left in the pointer is nobody's.
        if (m_ulLastError == mapi::kSuccess && message != nullptr) {
            m_lpMessage.PutLibrarys(message);
            Arrive(*message);
        }
        if (!WorthAnotherTry()) break;
        Yield();
    }
    Yield();
    return ReadResult(m_ulLastError);
}

// Another message has become current.
void CMapi::Arrive(const MapiMessage& message) {
    m_isNamed = *m_szMsgID != '\0';
    m_flags = message.flFlags;
    m_editStatus.reset();
}

int CMapi::FindAndRead(const char* seed) {
    const int found = FindNextMail(seed);
    return found == kFound ? ReadCurrentMail() : found;
}

int CMapi::MoveFirst() {
    KV_LOG(kTrace, "--- Enter --- CMapi::MoveFirst\n");
    m_bSeekValid = 0;
    const int result = FindAndRead(nullptr);
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

int CMapi::ReadTarget() {
    const int result = ReadCurrentMail();
    KV_LOG(kTrace, "--- Exit --- CMapi::GoToEmail\n");
    return result;
}

void CMapi::WalkTo(const std::string& target, const char* seed) {
    RoundTrip trip;
    while (target != m_szMsgID) {
        if (FindNextMail(seed) != kFound) return;
        if (target != m_szMsgID && trip.ComesRound(m_szMsgID)) m_ulLastError = mapi::kNoMessages;
        if (m_ulLastError == mapi::kNoMessages) return;
        mapi::CopyMessageId(m_szSeekFirst, m_szMsgID);
        ConfirmSeek();
        seed = m_szMsgID;
        Yield();
    }
}

int CMapi::GoToEmail(const char* target) {
    KV_LOG(kTrace, "--- Enter --- CMapi::GoToEmail\n");
    const std::string wanted = TextOf(target);  // which may be m_szMsgID
    const int first = FindNextMail(nullptr);
    if (first != kFound) return first;
    if (SeekValid()) KV_LOG(kTrace, "              * Seek First = %s\n", m_szSeekFirst);
    WalkTo(wanted, SeekValid() ? m_szSeekFirst : m_szMsgID);
    if (m_ulLastError == mapi::kSuccess) return ReadTarget();
    if (m_ulLastError != mapi::kNoMessages) return kFailed;
    KV_LOG(kTrace, "              * Fail GoToEmail -> Retry!!\n");
    return GoToEmailFromStart(wanted.c_str());
}

int CMapi::GoToEmailFromStart(const char* target) {
    KV_LOG(kTrace, "--- Enter --- CMapi::GoToEmail\n");
    const std::string wanted = TextOf(target);
    m_bSeekValid = 0;
    const int first = FindNextMail(nullptr);
    if (first != kFound) return first;
    WalkTo(wanted, m_szMsgID);
    return m_ulLastError == mapi::kSuccess ? ReadTarget() : FindResult(m_ulLastError);
}

int CMapi::GetCurrentMessage(MapiMessage*& message) {
    message = m_lpMessage.Get();
    return message != nullptr ? 1 : 0;
}

int CMapi::ClearMsgID() {
    SetMsgID(nullptr);
    return 0;
}

void CMapi::NoteSeek() {
    if (m_bSeekValid != 1) mapi::CopyMessageId(m_szSeekFirst, m_szMsgID);
}
