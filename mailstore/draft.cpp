#include "mailstore/draft.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>
#include <vector>
#include "text/ascii.h"

namespace mailstore {

namespace {

constexpr std::uint32_t kSenderClass = 0xFFFFFFFF;

// A text with bare line feeds gets the system's line ends; one with a return anywhere has its own.
std::string NormalizeLineEnds(std::string_view text) {
    const bool hasReturn = text.find('\r') != std::string_view::npos;
    return hasReturn ? std::string(text) : text::Replaced(text, "\n", "\r\n");
}

// Six decimals and a point, whatever the host's locale writes.
std::string DateText(double date) {
    char digits[400];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, date, std::chars_format::fixed, 6).ptr;
    return {digits, end};
}

// The pieces between separators that are not empty.
std::vector<std::string> Pieces(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    while (const auto piece = text::TakeToken(text, separators)) pieces.emplace_back(*piece);
    return pieces;
}

}  // namespace

std::string_view TextOf(const void* cell) {
    const char* text = cell != nullptr ? *static_cast<const char* const*>(cell) : nullptr;
    return text != nullptr ? text : "";
}

void Draft::Drop(CMapi& mapi) {
    mapi.FreeMessage(std::exchange(m_lpNewMessage, nullptr));
}

void Draft::ForgetRecipients() {
    for (std::string* text : {&m_pszTo, &m_pszCc, &m_pszBcc}) text->clear();
}

void Draft::Set(MailField field, const void* cell) {
    MapiMessage& record = *m_lpNewMessage;
    // An empty text changes nothing.
    const auto setRecipients = [&](std::string& recipients) {
        if (const auto text = TextOf(cell); !text.empty()) recipients = text;
    };
    switch (field) {
        case MailField::kFrom:
            if (record.lpOriginator == nullptr) record.lpOriginator = new MapiRecipDesc{};
            record.lpOriginator->ulRecipClass = kSenderClass;
            return Assign(record.lpOriginator->lpszAddress, TextOf(cell));
        case MailField::kTo:
            return setRecipients(m_pszTo);
        case MailField::kCc:
            return setRecipients(m_pszCc);
        case MailField::kBcc:
            return setRecipients(m_pszBcc);
        case MailField::kSubject:
            return Assign(record.lpszSubject, TextOf(cell));
        case MailField::kDate:
            return Assign(record.lpszDateReceived, DateText(*static_cast<const double*>(cell)));
        case MailField::kBody:
            return Assign(record.lpszNoteText, NormalizeLineEnds(TextOf(cell)));
        default:
            return;
    }
}

// All memory is allocated before the record or the queue changes.
void Draft::Queue(std::list<MapiMessage*>& queue, bool isToBeSent) {
    std::list<MapiMessage*> queued{m_lpNewMessage};
    struct Recipient {
        std::uint32_t recipientClass;
        TextBlock address, name;
    };
    std::vector<Recipient> recipients;
    for (const auto& [recipientClass, text] :
         {std::pair{mapi::kTo, &m_pszTo}, {mapi::kCc, &m_pszCc}, {mapi::kBcc, &m_pszBcc}}) {
        if (text->empty()) continue;
        auto addresses = Pieces(*text, isToBeSent ? ";," : ";");
        if (!isToBeSent) addresses = {text::Joined(addresses, ", ")};
        for (const std::string& address : addresses) {
            recipients.push_back(
                {recipientClass, CopyOf(address), isToBeSent ? CopyOf(address) : nullptr});
        }
    }
    MapiMessage& record = *m_lpNewMessage;
    if (!recipients.empty()) record.lpRecips = new MapiRecipDesc[recipients.size()]{};
    for (auto& [recipientClass, address, name] : recipients) {
        record.lpRecips[record.nRecipCount++] = {
            0, recipientClass, name.release(), address.release(), 0, nullptr};
    }
    m_lpNewMessage = nullptr;
    queue.splice(queue.end(), queued);
}

}  // namespace mailstore
