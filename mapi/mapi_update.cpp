#include <utility>

#include "mapi/mapi.h"
#include "platform/kvutil/kvutil.h"

namespace {

constexpr std::uint32_t kKindMask = 0xFFFF, kReceived = 1, kToSend = 2, kSentKind = 4;
constexpr std::uint32_t kReadBit = 0x20000;

std::uint32_t Kind(std::uint32_t status) {
    return status & kKindMask;
}

// The flags of a message of that status; a status of another kind stays.
std::uint32_t FlagsOfStatus(std::uint32_t status) {
    switch (Kind(status)) {
        case kReceived:
            return (status & kReadBit) != 0 ? 0 : mapi::kUnread;
        case kToSend:
            return 0;
        case kSentKind:
            return mapi::kSent;
        default:
            return status;
    }
}

}  // namespace

int CMapi::UpdateMail(MapiMessage* record) {
    if (record == nullptr) {
        m_ulLastError = mapi::kInvalidMessage;
        return -1;
    }
    m_ulLastError = 0;
    const std::uint32_t status = record->flFlags;
    record->flFlags = FlagsOfStatus(status);
    KV_LOG(5, "CMapi::UpdateMail : MailStatus %x -> %x", status, record->flFlags);
    KV_LOG(5, "CMapi::UpdateMail : m_szMsgID = %s", m_szMsgID);
    if (Kind(status) == kToSend) Send(*record);
    if (m_ulLastError != 0) return -1;
    if (m_lpMessage.Get() != record) {
        ReleaseCurrent();
        m_lpMessage.PutBorrowed(record);
    }
    Arrive(*record);
    return 1;
}

std::optional<std::uint32_t> CMapi::FinishEdit() {
    const auto status = std::exchange(m_editStatus, std::nullopt);
    if (status) m_flags = (*status & kReadBit) != 0 ? 0 : mapi::kUnread;
    return status;
}

void CMapi::Send(MapiMessage& record) {
    ClearMsgID();
    m_ulLastError = Call<mapi::SendMailFn>(mapi::Entry::kSendMail, m_lhSession, 0, &record, 0, 0);
    _DeleteAttachments(&record);
}

int CMapi::DeleteMail() {
    m_ulLastError =
        Call<mapi::DeleteMailFn>(mapi::Entry::kDeleteMail, m_lhSession, 0, m_szMsgID, 0, 0);
    if (m_ulLastError != 0) return -1;
    m_isNamed = false;
    return 1;
}

void CMapi::ReleaseCurrent() {
    MapiMessage* const message = m_lpMessage.TakeLibrarys();
    if (message == nullptr) return;
    _DeleteAttachments(message);
    Call<mapi::FreeBufferFn>(mapi::Entry::kFreeBuffer, message);
}

void CMapi::ReleaseBorrowed(const MapiMessage* record) {
    if (record != nullptr && m_lpMessage.Get() == record && !m_lpMessage.IsLibrarys()) {
        m_lpMessage.PutBorrowed(nullptr);
    }
}
