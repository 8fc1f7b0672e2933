#include "platform/posix/posix_error.h"

#include <cerrno>

namespace platform::posix {

namespace {

ErrorCode CodeOf(int number) {
    switch (number) {
        case ENOENT:
        case ENOTDIR:
            return ErrorCode::kNotFound;
        case EISDIR:
        case ENODEV:
        case ENXIO:
        case ELOOP:
            return ErrorCode::kNotRegular;
        case EACCES:
        case EPERM:
        case EROFS:
        case EBADF:
        case ENOTEMPTY:
            return ErrorCode::kAccessDenied;
        case EAGAIN:
        case EBUSY:
        case ETXTBSY:
            return ErrorCode::kSharingViolation;
        case EEXIST:
            return ErrorCode::kAlreadyExists;
        case ENOSPC:
        case EDQUOT:
            return ErrorCode::kNoSpace;
        case ENOMEM:
            return ErrorCode::kNoMemory;
        case EFBIG:
        case EOVERFLOW:
            return ErrorCode::kTooLarge;
        case EINVAL:
        case ENAMETOOLONG:
        case EILSEQ:
            return ErrorCode::kInvalidArgument;
        case ENOSYS:
        case EOPNOTSUPP:
        case EXDEV:
            return ErrorCode::kNotSupported;
        default:
            return ErrorCode::kIo;
    }
}

}  // namespace

Failure FromErrno(int number, std::string_view context) {
    return {CodeOf(number), std::string(context), number};
}

}  // namespace platform::posix
