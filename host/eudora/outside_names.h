#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

namespace host::eudora {

// A name in a folder that was handed over, and where it leads: out of that folder. Native paths.
struct OutsideName {
    std::string path, target;
};

// Of the files and folders that runs write in a handed-over folder, those that a link takes out of
// it; none for an Eudora that the options do not name by its folder.
std::vector<OutsideName> NamesLeadingOutside(const SetupOptions& options);

// Why nothing is written there, and what to do about it.
base::Failure LeadsOutside(const OutsideName& name);

// kRefused, naming the first of them, unless the options follow links.
base::Status RefuseNamesLeadingOutside(const SetupOptions& options);

}  // namespace host::eudora
