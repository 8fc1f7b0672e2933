#pragma once

#include <vector>

#include "host/doctor/doctor.h"

namespace host {

// What there is to say about an Eudora that was found: its folder, its registry entry, its locks,
// its mails, its nickname files. Without `canStart` the translator is left alone.
std::vector<Finding> ExamineEudora(const SetupOptions& options, const Setup& setup, bool canStart);

}  // namespace host
