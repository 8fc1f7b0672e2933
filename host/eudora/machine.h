#pragma once

#include <string>

#include "host/eudora/setup.h"

namespace host::eudora {

// Finds the machine that the module works on: Windows, the person's Wine prefix, or a small prefix
// of our own around a bare Eudora folder. Points this process at it (at the first call;
// NativeSystem must not have been used before) and notes in `setup` its prefix, its key, its
// settings folder, and what a person calls it. kRefused if there is no such folder or prefix, or
// rights are missing.
//
// The prefix around a bare folder lies in `stateFolder` and has a link to it: nothing is written
// into the folder. A run that writes nothing gets a prefix that goes with it, in which all that
// leads to existing files is links.
base::Status UseMachine(const SetupOptions& options, const std::string& stateFolder, Setup& setup);

// Lets what is made in Eudora's folder be made beside it: on a prefix for a run that writes
// nothing, before the translator makes there what is missing.
base::Status ShadowEudora(const Setup& setup);

// A short name for what a text stands for, the same in every run.
std::string KeyOf(const std::string& text);

}  // namespace host::eudora
