#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"
#include "host/eudora/setup.h"

// Protection against links in a bare Eudora folder that lead out of it. Paths are native, in UTF-8.
namespace host::eudora {

// A name in a bare Eudora folder, and the place outside of it to which it leads.
struct OutsideName {
    std::string path, target;
};

// The files and folders that runs write in the bare folder and that lead out of it through a link;
// none without a bare folder.
std::vector<OutsideName> NamesLeadingOutside(const SetupOptions& options);

// The refusal to write there, with advice.
base::Failure LeadsOutside(const OutsideName& name);

// kRefused, with the first such name, unless the options follow links.
base::Status RefuseNamesLeadingOutside(const SetupOptions& options);

}  // namespace host::eudora
