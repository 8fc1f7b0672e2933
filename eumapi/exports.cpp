#include <new>

#include "eumapi/simple_mapi.h"
#include "mapi/entry_points.h"

// The twelve functions that a Simple MAPI library exports. Nothing is thrown across them.

#if defined(_WIN32)
#define EUMAPI_EXPORT extern "C"
#else
#define EUMAPI_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

using eumapi::Code;
using mapi::Session;

// Made at the first call, when the environment names the machine's prefix.
eumapi::SimpleMapi& Library() {
    static eumapi::SimpleMapi library(platform::NativeSystem());
    return library;
}

template <class Operation>
Code Guarded(Operation&& operation) noexcept {
    try {
        return operation(Library());
    } catch (const std::bad_alloc&) {
        return mapi::kInsufficientMemory;
    } catch (...) {
        return mapi::kFailure;
    }
}

}  // namespace

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPILogon(std::uintptr_t, const char*, const char*,
                                             std::uint32_t, std::uint32_t, Session* session) {
    return Guarded([&](auto& library) { return library.Logon(session); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPILogoff(Session session, std::uintptr_t, std::uint32_t,
                                              std::uint32_t) {
    return Guarded([&](auto& library) { return library.Logoff(session); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIFindNext(Session session, std::uintptr_t,
                                                const char* messageType, const char* seed,
                                                std::uint32_t flags, std::uint32_t,
                                                char* messageId) {
    return Guarded([&](auto& library) {
        return library.FindNext(session, messageType, seed, flags, messageId);
    });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIReadMail(Session session, std::uintptr_t,
                                                const char* messageId, std::uint32_t flags,
                                                std::uint32_t, MapiMessage** message) {
    return Guarded(
        [&](auto& library) { return library.ReadMail(session, messageId, flags, message); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIFreeBuffer(void* buffer) {
    return Guarded([&](auto& library) { return library.FreeBuffer(buffer); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIDeleteMail(Session session, std::uintptr_t,
                                                  const char* messageId, std::uint32_t,
                                                  std::uint32_t) {
    return Guarded([&](auto& library) { return library.DeleteMail(session, messageId); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPISendMail(Session session, std::uintptr_t,
                                                MapiMessage* message, std::uint32_t flags,
                                                std::uint32_t) {
    return Guarded([&](auto& library) { return library.SendMail(session, message, flags); });
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPISendDocuments(std::uintptr_t, char*, char*, char*,
                                                     std::uint32_t) {
    return mapi::kNotSupported;
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPISaveMail(Session, std::uintptr_t, MapiMessage*,
                                                std::uint32_t, std::uint32_t, char*) {
    return mapi::kNotSupported;
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIAddress(Session, std::uintptr_t, char*, std::uint32_t, char*,
                                               std::uint32_t, MapiRecipDesc*, std::uint32_t,
                                               std::uint32_t, std::uint32_t*, MapiRecipDesc**) {
    return mapi::kNotSupported;
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIDetails(Session, std::uintptr_t, MapiRecipDesc*,
                                               std::uint32_t, std::uint32_t) {
    return mapi::kNotSupported;
}

EUMAPI_EXPORT Code KV_LIBRARY_CALL MAPIResolveName(Session, std::uintptr_t, char*, std::uint32_t,
                                                   std::uint32_t, MapiRecipDesc**) {
    return mapi::kNotSupported;
}
