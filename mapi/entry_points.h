#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "mapi/records.h"
#include "platform/os/libraries.h"

// The functions of a Simple MAPI library, as Microsoft's header MAPI.h publishes them. A library
// without one of them is no Simple MAPI library; the called ones have their types here.
namespace mapi {

using LogonFn = Code(KV_LIBRARY_CALL*)(Window, const char* profile, const char* password, Flags,
                                       Reserved, Session*);
using LogoffFn = Code(KV_LIBRARY_CALL*)(Session, Window, Flags, Reserved);
using SendMailFn = Code(KV_LIBRARY_CALL*)(Session, Window, MapiMessage*, Flags, Reserved);
using FindNextFn = Code(KV_LIBRARY_CALL*)(Session, Window, const char* messageType,
                                          const char* seed, Flags, Reserved, char* messageId);
using ReadMailFn = Code(KV_LIBRARY_CALL*)(Session, Window, const char* messageId, Flags, Reserved,
                                          MapiMessage**);
using DeleteMailFn = Code(KV_LIBRARY_CALL*)(Session, Window, const char* messageId, Flags,
                                            Reserved);
using FreeBufferFn = Code(KV_LIBRARY_CALL*)(void* buffer);

// The order in which the entry points are looked up.
enum class Entry {
    kLogon,
    kLogoff,
    kSendMail,
    kSendDocuments,
    kFindNext,
    kReadMail,
    kSaveMail,
    kDeleteMail,
    kFreeBuffer,
    kAddress,
    kDetails,
    kResolveName
};

inline constexpr const char* kEntryNames[] = {
    "MAPILogon",      "MAPILogoff",   "MAPISendMail", "MAPISendDocuments",
    "MAPIFindNext",   "MAPIReadMail", "MAPISaveMail", "MAPIDeleteMail",
    "MAPIFreeBuffer", "MAPIAddress",  "MAPIDetails",  "MAPIResolveName"};

// The addresses of the entry points; valid while the library is loaded.
class EntryPoints {
  public:
    // False at the first name that the library does not export; those before it are found.
    bool Find(platform::Library& library) {
        for (std::size_t i = 0; i < std::size(kEntryNames); ++i) {
            m_addresses[i] = library.Symbol(kEntryNames[i]);
            if (m_addresses[i] == nullptr) return false;
        }
        return true;
    }

    template <class Function>
    Function Get(Entry entry) const {
        return reinterpret_cast<Function>(m_addresses[static_cast<std::size_t>(entry)]);
    }

  private:
    void* m_addresses[std::size(kEntryNames)] = {};
};

}  // namespace mapi
