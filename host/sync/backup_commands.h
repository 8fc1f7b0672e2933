#pragma once

#include <string>

#include "host/base/report.h"
#include "host/sync/place.h"

namespace host::sync {

base::Report RunBackups(const CommandPlace& place);
// `id` as RunBackups lists it. What was in step with an in-box that is put back is forgotten.
base::Report RunRestore(const CommandPlace& place, const std::string& id);

}  // namespace host::sync
