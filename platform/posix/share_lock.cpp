#include "platform/posix/share_lock.h"

#include <fcntl.h>

#include <cerrno>

namespace platform::posix {

namespace {

// What may be true of an open file. A claimant holds one byte of the row of each that is true of
// it.
enum Claim : off_t { kReads, kWrites, kDeniesReading, kDeniesWriting };

constexpr off_t kBase = 0x7FFFFFFFFFFF0000;
constexpr off_t kPlaces = 64;  // in a row: so many can make the same claim at a time

struct flock LockOf(Claim claim, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = kBase + claim * kPlaces;
    lock.l_len = kPlaces;
    return lock;
}

// Without a free place, or without the right to write, there is no claim.
void Hold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_WRLCK);
    for (lock.l_len = 1; fcntl(descriptor, F_OFD_SETLK, &lock) != 0; ++lock.l_start) {
        const bool isTaken = errno == EAGAIN || errno == EACCES;
        if (!isTaken || lock.l_start == kBase + claim * kPlaces + kPlaces - 1) return;
    }
}

// Whether another open file has made that claim. What is asked for is what everybody may have who
// may read, so that of all locks only those of writers are in its way.
bool OthersHold(int descriptor, Claim claim) {
    struct flock lock = LockOf(claim, F_RDLCK);
    return fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

FileHandle OpenForClaim(const std::string& path, int flags) {
    FileHandle handle(open(path.c_str(), flags | O_RDWR));
    return handle ? std::move(handle) : FileHandle(open(path.c_str(), flags | O_RDONLY));
}

// Each claim is made before the others' are looked at, so of two at the same time at least one
// sees the other.
bool ClaimShare(int descriptor, bool writes, Share share) {
    const bool deniesReading = share == Share::kNone;
    const bool deniesWriting = share != Share::kReadWrite;
    Hold(descriptor, kReads);
    if (writes) Hold(descriptor, kWrites);
    if (deniesReading) Hold(descriptor, kDeniesReading);
    if (deniesWriting) Hold(descriptor, kDeniesWriting);
    return !OthersHold(descriptor, kDeniesReading) &&
           !(writes && OthersHold(descriptor, kDeniesWriting)) &&
           !(deniesReading && OthersHold(descriptor, kReads)) &&
           !(deniesWriting && OthersHold(descriptor, kWrites));
}

}  // namespace platform::posix
