#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The records and codes of Simple MAPI as its published header has them. Texts are zero-ended, in
// the system code page; a null pointer stands for a missing one.

struct MapiFileDesc {
    std::uint32_t ulReserved;
    std::uint32_t flFlags;
    std::uint32_t nPosition;  // in the note text; 0xFFFFFFFF for none
    char* lpszPathName;
    char* lpszFileName;
    void* lpFileType;
};

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

// What a message counts; nothing where there is no array, whatever the count says.
inline std::span<MapiRecipDesc> Recipients(const MapiMessage& message) {
    return {message.lpRecips, message.lpRecips != nullptr ? message.nRecipCount : 0};
}
inline std::span<MapiFileDesc> Files(const MapiMessage& message) {
    return {message.lpFiles, message.lpFiles != nullptr ? message.nFileCount : 0};
}

using Session = std::uintptr_t;

// Room for a message id, its closing zero included.
inline constexpr std::size_t kMessageIdSize = 520;

// Result codes.
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kFailure = 2;
inline constexpr std::uint32_t kLoginFailure = 3;
inline constexpr std::uint32_t kDiskFull = 4;
inline constexpr std::uint32_t kInsufficientMemory = 5;
inline constexpr std::uint32_t kAccessDenied = 6;
inline constexpr std::uint32_t kAttachmentNotFound = 11;
inline constexpr std::uint32_t kAttachmentOpenFailure = 12;
inline constexpr std::uint32_t kAttachmentWriteFailure = 13;
inline constexpr std::uint32_t kUnknownRecipient = 14;
inline constexpr std::uint32_t kBadRecipientType = 15;
inline constexpr std::uint32_t kNoMessages = 16;
inline constexpr std::uint32_t kInvalidMessage = 17;
inline constexpr std::uint32_t kTextTooLarge = 18;
inline constexpr std::uint32_t kInvalidSession = 19;
inline constexpr std::uint32_t kInvalidRecipients = 25;
inline constexpr std::uint32_t kNotSupported = 26;

// Flags of MAPILogon.
inline constexpr std::uint32_t kLogonUi = 0x1;
inline constexpr std::uint32_t kNewSession = 0x2;
// Flags of MAPIFindNext.
inline constexpr std::uint32_t kUnreadOnly = 0x20;
inline constexpr std::uint32_t kGuaranteeFifo = 0x100;
inline constexpr std::uint32_t kLongMessageId = 0x4000;
// Flags of MAPIReadMail.
inline constexpr std::uint32_t kEnvelopeOnly = 0x40;
inline constexpr std::uint32_t kPeek = 0x80;
inline constexpr std::uint32_t kBodyAsFile = 0x200;
inline constexpr std::uint32_t kSuppressAttach = 0x800;
// Flags of a message.
inline constexpr std::uint32_t kUnread = 0x1;
inline constexpr std::uint32_t kSent = 0x4;
// Flags of an attachment.
inline constexpr std::uint32_t kOle = 0x1;
inline constexpr std::uint32_t kOleStatic = 0x2;
// Recipient classes.
inline constexpr std::uint32_t kOriginator = 0;
inline constexpr std::uint32_t kTo = 1;
inline constexpr std::uint32_t kCc = 2;
inline constexpr std::uint32_t kBcc = 3;

}  // namespace mapi
