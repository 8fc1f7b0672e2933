#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "mapi/records.h"
#include "platform/testing/test_system.h"

// A mail as the library below serves it. What has no value is a null pointer in the record.
struct FakeMail {
    struct Recipient {
        std::uint32_t recipClass;
        std::string address;
    };
    struct File {
        std::optional<std::string> path, name;
        std::uint32_t flags = 0;
    };

    std::string id;
    std::optional<std::string> subject, note, date, originator;
    std::uint32_t flags = 0;
    std::vector<Recipient> recipients;
    std::vector<File> files;
};

// A Simple MAPI library over a list of mails, which counts what it is asked for. One at a time.
class FakeMapi {
  public:
    // Makes it the library EUMAPI32.DLL of the folder C:\Eudora.
    explicit FakeMapi(platform::testing::TestSystem& machine);
    ~FakeMapi();
    FakeMapi(const FakeMapi&) = delete;
    FakeMapi& operator=(const FakeMapi&) = delete;

    std::vector<FakeMail> mails;
    int finds = 0, reads = 0;
    int held = 0;                        // messages read and not freed
    std::uint32_t failFinds = 0;         // the result of every MAPIFindNext, if not 0
    std::optional<std::string> badRead;  // id of a mail that cannot be read
};
