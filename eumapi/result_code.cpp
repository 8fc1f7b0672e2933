#include "eumapi/result_code.h"

namespace eumapi {

Code CodeOf(const platform::Failure& failure) {
    switch (failure.code) {
        case platform::ErrorCode::kAccessDenied:
            return mapi::kAccessDenied;
        case platform::ErrorCode::kNoSpace:
            return mapi::kDiskFull;
        case platform::ErrorCode::kTooLarge:
            return mapi::kTextTooLarge;
        case platform::ErrorCode::kNotSupported:
            return mapi::kNotSupported;
        default:
            return mapi::kFailure;
    }
}

}  // namespace eumapi
