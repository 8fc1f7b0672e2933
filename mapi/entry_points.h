#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "mapi/records.h"
#include "platform/os/libraries.h"

// The functions of a Simple MAPI library, as published. All of them must be there for the library
// to count as one; those that are called have their types here.
namespace mapi {

using LogonFn = std::uint32_t(KV_LIBRARY_CALL*)(std::uintptr_t window, const char* profile,
                                                const char* password, std::uint32_t flags,
                                                std::uint32_t reserved, Session* session);
using LogoffFn = std::uint32_t(KV_LIBRARY_CALL*)(Session session, std::uintptr_t window,
                                                 std::uint32_t flags, std::uint32_t reserved);
using SendMailFn = std::uint32_t(KV_LIBRARY_CALL*)(Session session, std::uintptr_t window,
                                                   MapiMessage* message, std::uint32_t flags,
                                                   std::uint32_t reserved);
using FindNextFn = std::uint32_t(KV_LIBRARY_CALL*)(Session session, std::uintptr_t window,
                                                   const char* messageType, const char* seed,
                                                   std::uint32_t flags, std::uint32_t reserved,
                                                   char* messageId);
using ReadMailFn = std::uint32_t(KV_LIBRARY_CALL*)(Session session, std::uintptr_t window,
                                                   const char* messageId, std::uint32_t flags,
                                                   std::uint32_t reserved, MapiMessage** message);
using DeleteMailFn = std::uint32_t(KV_LIBRARY_CALL*)(Session session, std::uintptr_t window,
                                                     const char* messageId, std::uint32_t flags,
                                                     std::uint32_t reserved);
using FreeBufferFn = std::uint32_t(KV_LIBRARY_CALL*)(void* buffer);

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
inline constexpr std::size_t kEntryCount = std::size(kEntryNames);

// The addresses of the entry points; valid while the library is loaded.
class EntryPoints {
  public:
    // False at the first name that the library does not export; those before it are found.
    bool Find(platform::Library& library) {
        for (std::size_t i = 0; i < kEntryCount; ++i) {
            m_addresses[i] = library.Symbol(kEntryNames[i]);
            if (m_addresses[i] == nullptr) return false;
        }
        return true;
    }

    template <class Function>
    Function Get(Entry entry) const {
        return reinterpret_cast<Function>(m_addresses[static_cast<std::size_t>(entry)]);
    }

    bool SameAddress(const EntryPoints& other, Entry entry) const {
        return Get<void*>(entry) == other.Get<void*>(entry);
    }

  private:
    void* m_addresses[kEntryCount] = {};
};

}  // namespace mapi
