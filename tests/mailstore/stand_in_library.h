#pragma once

#include "eumapi/simple_mapi.h"
#include "platform/testing/test_system.h"

// Our Simple MAPI library over the files of a machine in memory, as EUMAPI32.DLL of the folder
// C:\E. One at a time.
class StandInLibrary {
  public:
    explicit StandInLibrary(platform::testing::TestSystem& machine);
    ~StandInLibrary();
    StandInLibrary(const StandInLibrary&) = delete;
    StandInLibrary& operator=(const StandInLibrary&) = delete;

    eumapi::SimpleMapi mapi;
    std::uint32_t failSends = 0;  // the result of every MAPISendMail, if not 0
};
