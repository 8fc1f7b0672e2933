#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace eumapi {

struct Address {
    std::string name;     // without quotes; empty if there is none
    std::string address;  // without angle brackets
};

// The addresses of an unfolded To, Cc, Bcc or From field in that code page, in order. Takes them as
// people and programs write them: names in quotes or not, comments, groups (whose members count),
// empty places, semicolons for commas, quotes and brackets that nobody closes. An address is any
// text that is not empty.
std::vector<Address> ParseAddresses(std::string_view list, unsigned codePage);

}  // namespace eumapi
