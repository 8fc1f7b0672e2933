#include "platform/posix/system_call.h"

#include <string>

namespace platform::posix {

namespace {

using enum ErrorCode;

constexpr ErrorGroup kGroups[] = {{kNotFound, {ENOENT, ENOTDIR}},
                                  {kNotRegular, {EISDIR, ENODEV, ENXIO, ELOOP}},
                                  {kAccessDenied, {EACCES, EPERM, EROFS, EBADF, ENOTEMPTY}},
                                  {kSharingViolation, {EAGAIN, EBUSY, ETXTBSY}},
                                  {kAlreadyExists, {EEXIST}},
                                  {kNoSpace, {ENOSPC, EDQUOT}},
                                  {kNoMemory, {ENOMEM}},
                                  {kTooLarge, {EFBIG, EOVERFLOW}},
                                  {kInvalidArgument, {EINVAL, ENAMETOOLONG, EILSEQ}},
                                  {kNotSupported, {ENOSYS, EOPNOTSUPP, EXDEV}}};

}  // namespace

Failure FromErrno(int number, std::string_view context) {
    return {CodeIn(kGroups, number), std::string(context), number};
}

}  // namespace platform::posix
