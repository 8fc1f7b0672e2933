#include <cstdio>
#include <cstring>
#include <string>

#include "frame/interface/field_ids.h"
#include "mapi/address_text.h"
#include "mapi/mapi.h"

namespace {

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

std::uint32_t ClassOf(MailField field) {
    return field == MailField::kTo ? mapi::kTo : field == MailField::kCc ? mapi::kCc : mapi::kBcc;
}

}  // namespace

int CMapi::GetMailField(MailField field, void*& data) {
    data = nullptr;
    if (field == MailField::kMessageId) data = m_szMsgID;
    MapiMessage* const message = m_lpMessage.Get();
    if (message == nullptr) return 1;
    char* recipients = nullptr;
    switch (field) {
        case MailField::kFrom:
            data = Originator(*message);
            break;
        case MailField::kTo:
        case MailField::kCc:
        case MailField::kBcc:
            GetRecipientList(field, recipients);
            data = recipients;
            break;
        case MailField::kSubject:
            data = message->lpszSubject;
            break;
        case MailField::kDate:
            data = message->lpszDateReceived;
            break;
        case MailField::kBody:
            data = message->lpszNoteText;
            break;
        case MailField::kAttachment:
            data = message;
            break;
        case MailField::kSize:
            data = NewNumber(LengthOf(message->lpszNoteText));
            break;
        case MailField::kStatus:
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

void CMapi::GetRecipientList(MailField field, char*& text) {
    text = nullptr;
    if (m_lpMessage.Get() == nullptr) return;
    std::string list;
    bool found = false;
    for (const MapiRecipDesc& recipient : mapi::Recipients(*m_lpMessage.Get())) {
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
