#pragma once

#include <string>
#include <vector>

namespace host::mail {

// The addresses of a mail as the translator joins them ("; " between them), each as a header field
// holds it. One that is no address, such as a nickname, becomes a group of that name without
// members, so that it is seen and nothing is sent to it.
std::vector<std::string> HeaderAddresses(const std::string& text);

}  // namespace host::mail
