#pragma once

#include <cstdint>
#include <string>

#include "mapi/entry_points.h"
#include "mapi/records.h"
#include "platform/testing/test_system.h"

// A Simple MAPI library of a machine in memory, as the EUMAPI32.DLL of a folder. One at a time,
// since its functions are plain ones.
class LibraryDouble {
  public:
    LibraryDouble(platform::testing::TestSystem& machine, const std::string& folder);
    virtual ~LibraryDouble();
    LibraryDouble(const LibraryDouble&) = delete;
    LibraryDouble& operator=(const LibraryDouble&) = delete;

    // Puts the library into a folder, in place of one that is there: all its functions but one.
    void Install(const std::string& folder, const char* missing = nullptr);

    virtual std::uint32_t Logon(mapi::Session* session) = 0;
    virtual std::uint32_t Logoff(mapi::Session session) = 0;
    virtual std::uint32_t FindNext(mapi::Session session, const char* seed, char* id) = 0;
    virtual std::uint32_t ReadMail(mapi::Session session, const char* id,
                                   MapiMessage** message) = 0;
    virtual std::uint32_t SendMail(mapi::Session session, MapiMessage* message) = 0;
    virtual std::uint32_t DeleteMail(mapi::Session session, const char* id) = 0;
    virtual std::uint32_t FreeBuffer(void* buffer) = 0;

    static constexpr std::uint32_t kFindFlags = 0x4100, kReadFlags = 0x80;
    int badCalls = 0;  // calls with another argument than the agreed one where there is only one

  protected:
    platform::testing::TestSystem& m_machine;
};
