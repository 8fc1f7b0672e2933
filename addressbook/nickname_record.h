#pragma once

#include <cstddef>

#include "platform/mfc/collections.h"

// One contact of a nickname file. Texts are bytes in the system code page; byte 0x03 inside them
// stands for a line break.
struct NicknameRecord {
    char szNickname[40] = {};  // at most 39 bytes and the closing zero
    CString csName;
    CString csAddress;
    CStringArray arrEmail;  // in the order of the alias line; the host sees the first
    CString csPhone;
    CString csFax;
    CString csNote;
};

namespace addressbook {

inline constexpr std::size_t kMaxNickname = sizeof(NicknameRecord::szNickname) - 1;  // bytes

}  // namespace addressbook
