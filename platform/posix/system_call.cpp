#include "platform/posix/system_call.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace platform::posix {

namespace {

using enum ErrorCode;

constexpr std::pair<int, ErrorCode> kCodes[] = {
    {ENOENT, kNotFound},         {ENOTDIR, kNotFound},
    {EISDIR, kNotRegular},       {ENODEV, kNotRegular},
    {ENXIO, kNotRegular},        {ELOOP, kNotRegular},
    {EACCES, kAccessDenied},     {EPERM, kAccessDenied},
    {EROFS, kAccessDenied},      {EBADF, kAccessDenied},
    {ENOTEMPTY, kAccessDenied},  {EAGAIN, kSharingViolation},
    {EBUSY, kSharingViolation},  {ETXTBSY, kSharingViolation},
    {EEXIST, kAlreadyExists},    {ENOSPC, kNoSpace},
    {EDQUOT, kNoSpace},          {ENOMEM, kNoMemory},
    {EFBIG, kTooLarge},          {EOVERFLOW, kTooLarge},
    {EINVAL, kInvalidArgument},  {ENAMETOOLONG, kInvalidArgument},
    {EILSEQ, kInvalidArgument},  {ENOSYS, kNotSupported},
    {EOPNOTSUPP, kNotSupported}, {EXDEV, kNotSupported}};

}  // namespace

Failure FromErrno(int number, std::string_view context) {
    const auto found = std::ranges::find(kCodes, number, &std::pair<int, ErrorCode>::first);
    return {found == std::end(kCodes) ? kIo : found->second, std::string(context), number};
}

}  // namespace platform::posix
