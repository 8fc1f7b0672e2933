#pragma once

#include <string>
#include <vector>

#include "platform/os/files.h"

namespace host::contacts {

// An entry of a nickname file with several addresses, or with another nickname for an address. The
// translator shows the first address of a contact, and nothing of a group. Texts are UTF-8.
struct AddressList {
    std::string nickname;
    bool isGroup = false;
    std::vector<std::string> addresses;  // of mail, or nicknames
};

// Those of the file of that native path, in its order; none if it cannot be read.
std::vector<AddressList> AddressListsIn(platform::Files& files, const std::string& path,
                                        unsigned codePage);

}  // namespace host::contacts
