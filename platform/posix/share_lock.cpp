#include "platform/posix/share_lock.h"

#include <fcntl.h>

#include <cerrno>

namespace platform::posix {

namespace {

// Which byte stands for what; each claimant holds shared locks on the bytes that are true of it.
enum Claim : off_t { kReads, kWrites, kDeniesReading, kDeniesWriting };

constexpr off_t kBase = 0x7FFFFFFFFFFF0000;

struct flock LockOf(Claim claim, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = kBase + claim;
    lock.l_len = 1;
    return lock;
}

bool Hold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_RDLCK);
    if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) return true;
    return errno != EAGAIN && errno != EACCES;
}

// Whether another open file holds that claim.
bool OthersHold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_WRLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

// Each claim is made before the others' are looked at, so of two at the same time at least one
// sees the other.
bool ClaimShare(int descriptor, bool writes, Share share) {
    const bool deniesReading = share == Share::kNone;
    const bool deniesWriting = share != Share::kReadWrite;
    if (!Hold(descriptor, kReads)) return false;
    if (writes && !Hold(descriptor, kWrites)) return false;
    if (deniesReading && !Hold(descriptor, kDeniesReading)) return false;
    if (deniesWriting && !Hold(descriptor, kDeniesWriting)) return false;
    return !OthersHold(descriptor, kDeniesReading) &&
           !(writes && OthersHold(descriptor, kDeniesWriting)) &&
           !(deniesReading && OthersHold(descriptor, kReads)) &&
           !(deniesWriting && OthersHold(descriptor, kWrites));
}

}  // namespace platform::posix
