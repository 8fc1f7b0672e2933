#pragma once

#include <memory>
#include <string>

#include "host/base/failure.h"

namespace host::eudora {

struct SetupOptions;

// The machine that the module works on: Windows, the person's Wine prefix, or a small prefix of our
// own. Texts are UTF-8.
struct Machine {
    std::string shown;          // as a person knows it; empty for Windows
    std::string key;            // the same for each run on it; empty for Windows
    std::string settingsDir;    // the Windows path that it has for settings files; may be empty
    std::string privatePrefix;  // the native path of a prefix of our own; else empty
    // A prefix that was made for this run alone goes with the last owner.
    std::shared_ptr<const void> temporary;
};

// Finds the machine and points this process at it (at the first call; NativeSystem must not have
// been used before). kRefused if there is no such folder or prefix, or rights are missing.
//
// A bare Eudora folder gets a prefix around it, in `stateFolder`, into which it is linked: nothing
// is written into the folder. A run that writes nothing gets one that goes with it, in which all
// that leads to existing files is links.
base::Result<Machine> UseMachine(const SetupOptions& options, const std::string& stateFolder);

// Lets what is made in Eudora's folder (Windows path, UTF-8) be made beside it: on a machine for a
// run that writes nothing, before the translator makes there what is missing.
base::Status ShadowEudora(const Machine& machine, const std::string& folder);

// A short name for what a text stands for, the same in every run.
std::string KeyOf(const std::string& text);

}  // namespace host::eudora
