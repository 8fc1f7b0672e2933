#pragma once

#include <string>
#include <vector>

#include "host/base/failure.h"

namespace host::eudora {

// Folders of links that stand in front of real folders: what is read through them is there as it
// is, and what is made in them is made beside it, not in it.

// The folder `root` with the folder that `names` lead to below it becomes such a folder, with all
// on the way. A link on the way is followed; names are matched without regard to case. What does
// not exist is made, as an empty folder of its own. `root` must be a link or such a folder already.
base::Status ShadowFolder(const std::string& root, const std::vector<std::string>& names);

// The Wine prefix `shadow` becomes one whose drives lead where those of `prefix` do, with a copy of
// the machine's registry.
base::Status ShadowPrefix(const std::string& prefix, const std::string& shadow);

}  // namespace host::eudora
