#pragma once

#include "mapi/records.h"
#include "platform/os/result.h"

namespace eumapi {

using mapi::Code;

// The published code for a failure of the file system. A file in use by another program is the
// general failure, after which callers try again.
Code CodeOf(const platform::Failure& failure);
inline Code CodeOf(const platform::Status& status) {
    return status ? mapi::kSuccess : CodeOf(status.Error());
}

}  // namespace eumapi
