#pragma once

#include <vector>

#include "host/doctor/doctor.h"

namespace host::doctor {

// What there is to say about an Eudora that was found: its folder, its registry entry, its locks,
// its mails, its nickname files. Without `canStart` the translator is left alone.
std::vector<Finding> ExamineEudora(const eudora::SetupOptions& options, const eudora::Setup& setup,
                                   bool canStart);

}  // namespace host::doctor
