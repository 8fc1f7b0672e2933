#pragma once

#include "platform/os/files.h"
#include "platform/os/libraries.h"
#include "platform/prefix/path_mapper.h"

namespace platform::prefix {

// Libraries for a native process that works on a Wine prefix. Load takes Windows paths, and native
// ones that begin with a slash; it loads shared objects, and answers whatever path ends in
// EUMAPI32.DLL with the stand-in libEUMAPI32.so, which lies beside the library that this code is
// part of. A library of Windows code gives kNotSupported.
class PrefixLibraries : public Libraries {
  public:
    // Both outlive this object. `ownFolder` is where companions of this code lie.
    PrefixLibraries(const PathMapper& mapper, Files& native, std::string ownFolder)
        : m_mapper(mapper), m_native(native), m_ownFolder(std::move(ownFolder)) {}

    Result<std::unique_ptr<Library>> Load(std::string_view path) override;
    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override;

  private:
    Result<std::string> FindResources(std::string_view path) const;

    const PathMapper& m_mapper;
    Files& m_native;
    std::string m_ownFolder;
};

// The folder of the library or program that this code is linked into, without a slash at its end.
std::string OwnFolder();

}  // namespace platform::prefix
