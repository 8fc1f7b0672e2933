#pragma once

#include <map>
#include <memory>
#include <unordered_map>

#include "eumapi/in_box.h"
#include "eumapi/mailbox.h"
#include "eumapi/message_record.h"
#include "eumapi/temporary_files.h"
#include "mapi/records.h"

namespace eumapi {

// The functions of Simple MAPI, as Microsoft publishes them, over the mailboxes of the Eudora that
// the registry names. Message ids are index ids. One call at a time; may throw std::bad_alloc.
class SimpleMapi {
  public:
    explicit SimpleMapi(const platform::System& system) : m_system(system) {}
    // Closes the sessions that are left.
    ~SimpleMapi();

    // Opens a session on the Eudora that the registry names; kLoginFailure without one.
    Code Logon(mapi::Session* session);
    // Closes a session, even after a failure, which leaves the mails in the in-box that could not
    // be moved into the Trash. Messages of ReadMail stay valid until FreeBuffer.
    Code Logoff(mapi::Session session);
    // Writes the id of the mail behind `seed`, or of the first one without a seed, into
    // `messageId`, a buffer of kMessageIdSize bytes. kNoMessages at the end.
    Code FindNext(mapi::Session session, const char* messageType, const char* seed,
                  mapi::Flags flags, char* messageId);
    // Gives a mail, which this object owns until FreeBuffer. The caller owns the files of its
    // attachments. Without kPeek the mail becomes read. After a failure the message is null.
    Code ReadMail(mapi::Session session, const char* messageId, mapi::Flags flags,
                  MapiMessage** message);
    // Frees a message of ReadMail; the copies of its attachments are the caller's and stay.
    Code FreeBuffer(void* buffer);
    // Takes a mail out of the in-box. The session sees it no longer; Logoff moves all those mails
    // into the Trash at once, so that many cost little more than one.
    Code DeleteMail(mapi::Session session, const char* messageId);
    // Session 0 stands for a session of this call alone. kNotSupported for the flag that asks for a
    // dialog, as this library has no window.
    Code SendMail(mapi::Session session, const MapiMessage* message, mapi::Flags flags);

  private:
    struct Session {
        InBox inBox;
        Mailbox outBox;
    };

    Session* Find(mapi::Session session);
    // The mail of that id as the file has it now; nothing to use after a failure.
    Code FindMail(mapi::Session session, const char* messageId, InBox*& inBox,
                  const IndexedMail*& mail);

    platform::System m_system;
    mapi::Session m_lastSession = 0;
    std::unordered_map<mapi::Session, Session> m_sessions;
    std::unique_ptr<RunMark> m_run;                              // as long as there is a session
    std::map<void*, std::unique_ptr<MessageRecord>> m_messages;  // that callers hold
};

}  // namespace eumapi
