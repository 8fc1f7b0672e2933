#include "platform/posix/system_call.h"

#include <string>

#include "platform/os/error_numbers.h"

namespace platform::posix {

namespace {

constexpr ErrorNumbers kCodes[] = {
    {ErrorCode::kNotFound, {ENOENT, ENOTDIR}},
    {ErrorCode::kNotRegular, {EISDIR, ENODEV, ENXIO, ELOOP}},
    {ErrorCode::kAccessDenied, {EACCES, EPERM, EROFS, EBADF, ENOTEMPTY}},
    {ErrorCode::kSharingViolation, {EAGAIN, EBUSY, ETXTBSY}},
    {ErrorCode::kAlreadyExists, {EEXIST}},
    {ErrorCode::kNoSpace, {ENOSPC, EDQUOT}},
    {ErrorCode::kNoMemory, {ENOMEM}},
    {ErrorCode::kTooLarge, {EFBIG, EOVERFLOW}},
    {ErrorCode::kInvalidArgument, {EINVAL, ENAMETOOLONG, EILSEQ}},
    {ErrorCode::kNotSupported, {ENOSYS, EOPNOTSUPP, EXDEV}},
};

}  // namespace

Failure FromErrno(int number, std::string_view context) {
    return {CodeOf(kCodes, number), std::string(context), number};
}

}  // namespace platform::posix
