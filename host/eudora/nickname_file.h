#pragma once

#include <string>
#include <vector>

#include "host/eudora/setup.h"

// The nickname file of a run. Paths are Windows paths in the system code page.
namespace host::eudora {

// The nickname file that `named` means: a native path, a Windows path, or a name in Eudora's folder
// or the folder NickName in it, with or without ".txt". kRefused if there is none, or if it lies
// outside the Eudora in use.
base::Result<std::string> NamedNicknameFile(const Setup& setup, const std::string& named);

// All nickname files of this Eudora: nndbase.txt and those in NickName, in the order of their
// names.
std::vector<std::string> AllNicknameFiles(const Setup& setup);

// The nickname file to work on: the one in the options, else the one that `configure` chose, else
// nndbase.txt of Eudora's folder if it exists, else "" for the module's own choice. kRefused if the
// file in the options is missing, unusable, or outside the Eudora in use.
base::Result<std::string> ChooseNicknameFile(const SetupOptions& options, const Setup& setup);

// Keeps the choice for the next runs on this Eudora, in kvsync's own folder.
base::Status RememberNicknameFile(const Setup& setup, const std::string& windowsPath);

// kRefused, with advice, if the file does not exist, cannot be read, has more than 1 GB, or, with
// `forWriting`, if it or its folder cannot be written.
base::Status CheckNicknameFile(const Setup& setup, const std::string& windowsPath, bool forWriting);

}  // namespace host::eudora
