#pragma once

#include <cstdint>
#include <map>

#include "platform/os/files.h"

namespace mailstore {

// A mail's status as the host has it.
inline constexpr std::uint32_t kReadBit = 0x20000;
inline constexpr std::uint32_t kStatusUnread = 1;
inline constexpr std::uint32_t kStatusRead = kStatusUnread | kReadBit;
inline constexpr std::uint32_t kStatusSent = 4;

// The status that the flags of a message tell.
std::uint32_t StatusOfFlags(std::uint32_t flags);

// Statuses by the numbers of mails.
using States = std::map<std::uint32_t, std::uint32_t>;

// Stores read states in a .toc file that is open for reading and writing: one pass over its
// blocks, of which only those are written that have a state here. A block that the end of the file
// cuts short is left alone, and so is, with kCorrupt, a file that is no table of contents of Eudora
// for Windows.
platform::Status StoreStates(platform::File& toc, const States& states);

}  // namespace mailstore
