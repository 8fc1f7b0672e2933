#pragma once

#include <cstdint>
#include <string>

namespace benchmarks {

// Writes an in-box of that many mails, `mbxPath` and `tocPath`, the same for the same arguments:
// mails of `bytesEach` bytes in the mean, from a quarter of it to seven quarters, with header
// fields as a mail server leaves them in front of the "To: ", one mail in fifty without a
// Message-ID and one in ten with its other spelling.
bool WriteInbox(const std::string& mbxPath, const std::string& tocPath, std::uint32_t mails,
                std::uint32_t bytesEach);

}  // namespace benchmarks
