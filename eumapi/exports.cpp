#include <functional>
#include <mutex>
#include <new>

#include "eumapi/simple_mapi.h"
#include "mapi/entry_points.h"

// The twelve functions that a Simple MAPI library exports. Any thread may call; calls wait for one
// another. Nothing is thrown across them.

namespace {

using eumapi::SimpleMapi;
using mapi::Code, mapi::Flags, mapi::Reserved, mapi::Session, mapi::Window;

// Made at the first call, when the environment names the machine's prefix.
SimpleMapi& Library() {
    static SimpleMapi library(platform::NativeSystem());
    return library;
}

std::mutex g_oneAtATime;

template <class Operation, class... Arguments>
Code Guarded(Operation operation, Arguments... arguments) noexcept {
    try {
        const std::lock_guard guard(g_oneAtATime);
        return std::invoke(operation, Library(), arguments...);
    } catch (const std::bad_alloc&) {
        return mapi::kInsufficientMemory;
    } catch (...) {
        return mapi::kFailure;
    }
}

}  // namespace

extern "C" {

Code KV_LIBRARY_CALL MAPILogon(Window, const char*, const char*, Flags, Reserved,
                               Session* session) {
    return Guarded(&SimpleMapi::Logon, session);
}

Code KV_LIBRARY_CALL MAPILogoff(Session session, Window, Flags, Reserved) {
    return Guarded(&SimpleMapi::Logoff, session);
}

Code KV_LIBRARY_CALL MAPIFindNext(Session session, Window, const char* messageType,
                                  const char* seed, Flags flags, Reserved, char* messageId) {
    return Guarded(&SimpleMapi::FindNext, session, messageType, seed, flags, messageId);
}

Code KV_LIBRARY_CALL MAPIReadMail(Session session, Window, const char* messageId, Flags flags,
                                  Reserved, MapiMessage** message) {
    return Guarded(&SimpleMapi::ReadMail, session, messageId, flags, message);
}

Code KV_LIBRARY_CALL MAPIFreeBuffer(void* buffer) {
    return Guarded(&SimpleMapi::FreeBuffer, buffer);
}

Code KV_LIBRARY_CALL MAPIDeleteMail(Session session, Window, const char* messageId, Flags,
                                    Reserved) {
    return Guarded(&SimpleMapi::DeleteMail, session, messageId);
}

Code KV_LIBRARY_CALL MAPISendMail(Session session, Window, MapiMessage* message, Flags flags,
                                  Reserved) {
    return Guarded(&SimpleMapi::SendMail, session, message, flags);
}

Code KV_LIBRARY_CALL MAPISendDocuments(Window, char*, char*, char*, Reserved) {
    return mapi::kNotSupported;
}

Code KV_LIBRARY_CALL MAPISaveMail(Session, Window, MapiMessage*, Flags, Reserved, char*) {
    return mapi::kNotSupported;
}

Code KV_LIBRARY_CALL MAPIAddress(Session, Window, char*, std::uint32_t, char*, std::uint32_t,
                                 MapiRecipDesc*, Flags, Reserved, std::uint32_t*, MapiRecipDesc**) {
    return mapi::kNotSupported;
}

Code KV_LIBRARY_CALL MAPIDetails(Session, Window, MapiRecipDesc*, Flags, Reserved) {
    return mapi::kNotSupported;
}

Code KV_LIBRARY_CALL MAPIResolveName(Session, Window, char*, Flags, Reserved, MapiRecipDesc**) {
    return mapi::kNotSupported;
}

}  // extern "C"
