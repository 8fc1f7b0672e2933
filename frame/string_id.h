#pragma once

#include <cstdint>

namespace frame {

// The numbers of the strings in a language bundle (docs/formats/bundle.md). The remarks give the
// values for their "%s" and "%d".
enum class StringId : std::uint32_t {
    kCannotOpenFile = 1,  // %s: the path
    kNoMemoryForField = 4,
    kNoNicknameFile = 5,
    kContactNickname = 6,
    kContactName = 7,
    kContactAddress = 8,
    kContactPhone = 9,
    kContactFax = 10,
    kContactEmail = 11,
    kContactNote = 12,
    kNicknameFileUnread = 13,
    // 16 to 40: what a result code of Simple MAPI means.
    kFirstOfMapi = 16,
    kDiskFull = 19,
    kNoMemory = 20,
    kOtherMapiError = 40,
    kMailFrom = 41,  // also in new mails, as Eudora writes it
    kMailTo = 42,
    kMailCc = 43,
    kMailBcc = 44,
    kMailSubject = 45,
    kMailDate = 46,
    kMailBody = 47,
    kOptionsFrame = 48,
    kOptionsAge = 49,
    kOptionsSize = 50,
    kOptionsDays = 51,
    kOptionsKB = 52,
    kOptionsAttachments = 53,
    kOptionsAttachmentSize = 54,
    kOk = 55,
    kCancel = 56,
    kOptionsTitle = 57,
    kInvalidRecord = 58,
    kCannotDelete = 60,
    kAttachmentUnopened = 62,
    kAttachmentSizeUnknown = 63,
    kNoStatus = 65,
    kCannotStoreSettings = 66,
    kEudoraMissing = 71,
    kOtherMailProgram = 72,
    kNoMapiLibrary = 73,
    kNoLogon = 74,
    kInvalidDate = 75,
    kNoMessage = 76,
    kAttachmentMark = 77,  // begins the lines of a body that name its attachments
    kInBox = 79,           // name of its two files, without the extension
    kNoSender = 80,
    kAngleBracket = 81,     // %s: the field's name
    kInvalidNickname = 82,  // %s: the field's name
    kNicknameTooLong = 83,  // %s: the field's name; %d: characters
    kNoLetterOrDigit = 84,  // %s: the field's name
    kMailboxFull = 85,      // %s: the mail
    kAttachmentKept = 86,   // %s: the path
    kForeignTable = 87,     // %s: the path
    kMailboxUnread = 88,    // %s: the path
};

}  // namespace frame
