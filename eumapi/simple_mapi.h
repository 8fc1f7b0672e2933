#pragma once

#include <map>
#include <memory>
#include <unordered_map>

#include "eumapi/in_box.h"
#include "eumapi/message_record.h"
#include "eumapi/temporary_files.h"
#include "mapi/records.h"

namespace eumapi {

// The published Simple MAPI contract over the in-box of the Eudora that the registry names. One
// call at a time; may throw std::bad_alloc.
class SimpleMapi {
  public:
    explicit SimpleMapi(const platform::System& system) : m_system(system) {}

    Code Logon(mapi::Session* session);
    Code Logoff(mapi::Session session);
    Code FindNext(mapi::Session session, const char* messageType, const char* seed,
                  mapi::Flags flags, char* messageId);
    Code ReadMail(mapi::Session session, const char* messageId, mapi::Flags flags,
                  MapiMessage** message);
    Code FreeBuffer(void* buffer);
    Code DeleteMail(mapi::Session session, const char* messageId);
    // Session 0 stands for one that lasts as long as the call. There is no window to ask in:
    // kNotSupported for flags that want one.
    Code SendMail(mapi::Session session, const MapiMessage* message, mapi::Flags flags);

  private:
    InBox* Find(mapi::Session session);
    // The mail of that id as the file has it now; nothing to use after a failure.
    Code FindMail(mapi::Session session, const char* messageId, InBox*& inBox,
                  const IndexedMail*& mail);

    platform::System m_system;
    mapi::Session m_lastSession = 0;
    std::unordered_map<mapi::Session, InBox> m_sessions;
    std::unique_ptr<RunMark> m_run;                              // as long as there is a session
    std::map<void*, std::unique_ptr<MessageRecord>> m_messages;  // that callers hold
};

}  // namespace eumapi
