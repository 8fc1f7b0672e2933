#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The records and codes of Simple MAPI, with the layout and the values of Microsoft's header
// MAPI.h. Texts are zero-ended, in the system code page; a null pointer stands for a missing one.
// Paths are Windows paths.

// An attachment.
struct MapiFileDesc {
    std::uint32_t ulReserved;
    std::uint32_t flFlags;
    std::uint32_t nPosition;  // in the note text; 0xFFFFFFFF for none
    char* lpszPathName;
    char* lpszFileName;
    void* lpFileType;
};

// A sender or recipient.
struct MapiRecipDesc {
    std::uint32_t ulReserved;
    std::uint32_t ulRecipClass;
    char* lpszName;
    char* lpszAddress;  // "SMTP:" and the address, or the address alone
    std::uint32_t ulEIDSize;
    void* lpEntryID;
};

struct MapiMessage {
    std::uint32_t ulReserved;
    char* lpszSubject;
    char* lpszNoteText;
    char* lpszMessageType;
    char* lpszDateReceived;  // "YYYY/MM/DD HH:MM"
    char* lpszConversationID;
    std::uint32_t flFlags;
    MapiRecipDesc* lpOriginator;
    std::uint32_t nRecipCount;
    MapiRecipDesc* lpRecips;
    std::uint32_t nFileCount;
    MapiFileDesc* lpFiles;
};

namespace mapi {

// A text of a record; a null one is empty.
inline std::string_view ViewOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}
// The recipients and the files of a message; none without an array, whatever the count says.
inline std::span<MapiRecipDesc> Recipients(const MapiMessage& message) {
    return {message.lpRecips, message.lpRecips != nullptr ? message.nRecipCount : 0};
}
inline std::span<MapiFileDesc> Files(const MapiMessage& message) {
    return {message.lpFiles, message.lpFiles != nullptr ? message.nFileCount : 0};
}

using Session = std::uintptr_t;
using Window = std::uintptr_t;  // of the caller; 0 for none
using Flags = std::uint32_t;
using Reserved = std::uint32_t;
using Code = std::uint32_t;  // the result of a call

// Room for a message id, its closing zero included.
inline constexpr std::size_t kMessageIdSize = 520;

// Codes.
inline constexpr Code kSuccess = 0, kFailure = 2, kLoginFailure = 3, kDiskFull = 4,
                      kInsufficientMemory = 5, kAccessDenied = 6, kAttachmentNotFound = 11,
                      kAttachmentOpenFailure = 12, kAttachmentWriteFailure = 13,
                      kUnknownRecipient = 14, kBadRecipientType = 15, kNoMessages = 16,
                      kInvalidMessage = 17, kTextTooLarge = 18, kInvalidSession = 19,
                      kInvalidRecipients = 25, kNotSupported = 26;
// Flags of MAPILogon.
inline constexpr Flags kLogonUi = 0x1, kNewSession = 0x2;
// Flags of MAPIFindNext.
inline constexpr Flags kUnreadOnly = 0x20, kGuaranteeFifo = 0x100, kLongMessageId = 0x4000;
// Flags of MAPIReadMail.
inline constexpr Flags kEnvelopeOnly = 0x40, kPeek = 0x80, kBodyAsFile = 0x200,
                       kSuppressAttach = 0x800;
// Flags of MAPISendMail.
inline constexpr Flags kDialog = 0x8;
// Flags of a message.
inline constexpr Flags kUnread = 0x1, kSent = 0x4;
// Flags of an attachment.
inline constexpr Flags kOle = 0x1, kOleStatic = 0x2;
// Recipient classes.
inline constexpr std::uint32_t kOriginator = 0, kTo = 1, kCc = 2, kBcc = 3;

// The optional prefix of an address.
inline constexpr std::string_view kTransport = "SMTP:";
inline std::string_view WithoutTransport(std::string_view address) {
    return address.starts_with(kTransport) ? address.substr(kTransport.size()) : address;
}

}  // namespace mapi
