#pragma once

#include "mapi/records.h"
#include "platform/os/result.h"

namespace eumapi {

using mapi::Code;

// What a failure of the file system is to a caller of the library. A file that somebody else holds
// is the general failure, which callers are used to trying again.
Code CodeOf(const platform::Failure& failure);
inline Code CodeOf(const platform::Status& status) {
    return status ? mapi::kSuccess : CodeOf(status.Error());
}

}  // namespace eumapi
