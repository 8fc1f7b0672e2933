#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "mapi/address_text.h"
#include "mapi/mapi.h"

namespace {

enum Field : int {
    kFrom = 1,
    kTo = 2,
    kCc = 3,
    kBcc = 4,
    kSubject = 5,
    kDate = 6,
    kBody = 7,
    kAttachment = 8,
    kSize = 9,
    kStatus = 10,
    kMessageId = 11
};

constexpr const char* kSeparator = "; ";
constexpr std::size_t kNumberRoom = 20;

char* NewText(const std::string& text) {
    char* const block = new char[text.size() + 1];
    std::memcpy(block, text.c_str(), text.size() + 1);
    return block;
}

char* NewNumber(std::int32_t number) {
    char* const block = new char[kNumberRoom];
    std::snprintf(block, kNumberRoom, "%d", number);
    return block;
}

std::int32_t LengthOf(const char* text) {
    return text != nullptr ? static_cast<std::int32_t>(std::strlen(text)) : 0;
}

std::span<const MapiRecipDesc> Recipients(const MapiMessage& message) {
    if (message.lpRecips == nullptr) return {};
    return {message.lpRecips, message.nRecipCount};
}

std::uint32_t ClassOf(int field) {
    return field == kTo ? mapi::kTo : field == kCc ? mapi::kCc : mapi::kBcc;
}

}  // namespace

int CMapi::GetMailFieldByName(const char* field, void*& data) {
    return GetMailField(field != nullptr ? std::atoi(field) : 0, data);
}

int CMapi::GetMailField(int field, void*& data) {
    data = nullptr;
    if (field == kMessageId) data = m_szMsgID;
    MapiMessage* const message = m_lpMessage.Get();
    if (message == nullptr) return 1;
    char* recipients = nullptr;
    switch (field) {
        case kFrom:
            data = Originator(*message);
            break;
        case kTo:
        case kCc:
        case kBcc:
            GetRecipientList(field, recipients);
            data = recipients;
            break;
        case kSubject:
            data = message->lpszSubject;
            break;
        case kDate:
            data = message->lpszDateReceived;
            break;
        case kBody:
            data = message->lpszNoteText;
            break;
        case kAttachment:
            data = message;
            break;
        case kSize:
            data = NewNumber(LengthOf(message->lpszNoteText));
            break;
        case kStatus:
            data = NewNumber(static_cast<std::int32_t>(message->flFlags));
            break;
        default:
            break;
    }
    return 1;
}

char* CMapi::Originator(const MapiMessage& message) {
    const MapiRecipDesc* const originator = message.lpOriginator;
    if (originator == nullptr || originator->lpszName == nullptr) return nullptr;
    auto address = mapi::AddressOfName(originator->lpszName);
    if (!address) return nullptr;
    m_address = std::move(*address);
    return m_address.data();
}

void CMapi::GetRecipientList(int field, char*& text) {
    text = nullptr;
    if (m_lpMessage.Get() == nullptr) return;
    std::string list;
    bool found = false;
    for (const MapiRecipDesc& recipient : Recipients(*m_lpMessage.Get())) {
        if (recipient.ulRecipClass != ClassOf(field) || recipient.lpszAddress == nullptr) continue;
        if (found) list += kSeparator;
        list += mapi::WithoutTransport(recipient.lpszAddress);
        found = true;
    }
    if (found) text = NewText(list);
}

int CMapi::SetMailStatus(unsigned long status) {
    if (m_lpMessage.Get() == nullptr) return 0;
    m_editStatus = m_lpMessage.Get()->flFlags = static_cast<std::uint32_t>(status);
    return 1;
}

long CMapi::GetMailStatus() {
    const MapiMessage* const message = m_lpMessage.Get();
    return message != nullptr ? static_cast<std::int32_t>(message->flFlags) : -1;
}
