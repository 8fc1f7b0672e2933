#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

#include "eumapi/mail_index.h"
#include "eumapi/mail_reader.h"
#include "eumapi/message_record.h"
#include "eumapi/temporary_files.h"
#include "mapi/records.h"

namespace eumapi {

// The published Simple MAPI contract over the in-box of the Eudora that the registry names. Any
// thread may call; calls wait for one another. May throw std::bad_alloc.
class SimpleMapi {
  public:
    explicit SimpleMapi(const platform::System& system) : m_system(system) {}

    Code Logon(mapi::Session* session);
    Code Logoff(mapi::Session session);
    Code FindNext(mapi::Session session, const char* messageType, const char* seed,
                  std::uint32_t flags, char* messageId);
    Code ReadMail(mapi::Session session, const char* messageId, std::uint32_t flags,
                  MapiMessage** message);
    Code FreeBuffer(void* buffer);
    Code DeleteMail(mapi::Session session, const char* messageId);
    // Session 0 stands for one that lasts as long as the call. There is no window to ask in:
    // kNotSupported for flags that want one.
    Code SendMail(mapi::Session session, const MapiMessage* message, std::uint32_t flags);

  private:
    struct InBox {
        InBox(const platform::System& system, std::string eudoraFolder);

        std::string folder;
        MailIndex index;
        MailReader reader;
    };

    InBox* Find(mapi::Session session);
    // The mail of that id as the file has it now; null, and why.
    const IndexedMail* FindMail(InBox& inBox, const char* messageId, Code& code);

    platform::System m_system;
    std::mutex m_mutex;
    mapi::Session m_lastSession = 0;
    std::unordered_map<mapi::Session, std::unique_ptr<InBox>> m_sessions;
    std::unique_ptr<RunMark> m_run;  // as long as there is a session
    MessageBuffers m_buffers;
};

}  // namespace eumapi
