#pragma once

#include <optional>
#include <string>

#include "host/eudora/mailboxes.h"
#include "host/eudora/setup.h"

// The machine that the module works on: Windows, a Wine prefix, or a small prefix of our own around
// a bare Eudora folder. Paths are native, in UTF-8, unless stated.
namespace host::eudora {

// Finds the machine and points this process at it, through WINEPREFIX; NativeSystem must not have
// been used before the first call. Notes in `setup` the private prefix, the memory key, the
// settings folder and the name for a person. On Windows there is nothing to do. kRefused if there
// is no such folder or prefix, or rights are missing.
//
// The prefix around a bare folder lies in `stateFolder` and links to the folder, in which nothing
// is written. A run with `writesNothing` gets a temporary prefix, whose folders are links to what
// exists; it is removed with `setup.temporary`.
base::Status UseMachine(const SetupOptions& options, const std::string& stateFolder, Setup& setup);

// Replaces Eudora's folder in the temporary prefix of a run that writes nothing by a folder of
// links, so that files that the translator makes there do not reach the real folder.
base::Status ShadowEudora(const Setup& setup);

// Lets the translator find another mailbox as its in-box, in the temporary prefix of a run that
// writes nothing: links in the folder of links, or `table` as the content of In.toc if it is given.
// The translator must be initialised anew afterwards. kRefused on Windows, where Eudora itself
// gives the mails.
base::Status ServeAsInBox(const Setup& setup, const Mailbox& mailbox,
                          const std::optional<std::string>& table);

}  // namespace host::eudora
