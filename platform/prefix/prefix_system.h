#pragma once

#include "platform/os/system.h"
#include "platform/posix/posix_clock.h"
#include "platform/prefix/hosted_dialogs.h"
#include "platform/prefix/path_mapper.h"
#include "platform/prefix/prefix_files.h"
#include "platform/prefix/prefix_libraries.h"
#include "platform/prefix/prefix_processes.h"
#include "platform/prefix/prefix_registry.h"

namespace platform::prefix {

// Everything that the module needs, for the Wine prefix in one folder (UTF-8, absolute).
class PrefixSystem {
  public:
    explicit PrefixSystem(const std::string& prefix)
        : m_mapper(prefix, PrefixCodePage(prefix, NativeFiles())),
          m_registry(prefix, NativeFiles(), m_mapper.CodePage()),
          m_files(m_mapper, NativeFiles(), m_registry),
          m_processes(m_files, m_registry),
          m_libraries(m_mapper, NativeFiles(), OwnFolder()),
          m_dialogs(m_mapper.CodePage()) {}
    PrefixSystem(const PrefixSystem&) = delete;
    PrefixSystem& operator=(const PrefixSystem&) = delete;

    const System& Get() const { return m_system; }

  private:
    PathMapper m_mapper;
    PrefixRegistry m_registry;
    PrefixFiles m_files;
    PrefixProcesses m_processes;
    NoWindows m_windows;
    PrefixLibraries m_libraries;
    HostedDialogs m_dialogs;
    posix::PosixClock m_clock;
    System m_system{m_files,     m_registry, m_processes, m_windows,
                    m_libraries, m_dialogs,  m_clock,     m_mapper.CodePage()};
};

}  // namespace platform::prefix
