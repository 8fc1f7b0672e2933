#pragma once

#include "platform/os/not_copied.h"
#include "platform/os/system.h"
#include "platform/testing/fake_libraries.h"
#include "platform/testing/fake_processes.h"
#include "platform/testing/faulty_files.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "platform/testing/memory_registry.h"
#include "platform/testing/scripted_dialogs.h"

namespace platform::testing {

// A whole machine in memory. The system uses `files` through `faults`, so that a test arms faults
// there and looks at the disk in `files`.
class TestSystem : NotCopied {
  public:
    explicit TestSystem(unsigned codePage = 1252)
        : files(codePage), system(Over(faults, codePage)) {
        libraries.codePage = codePage;
    }

    MemoryFiles files;
    FaultyFiles faults{files};
    MemoryRegistry registry;
    FakeProcesses processes;
    FakeWindows windows;
    FakeLibraries libraries;
    ScriptedDialogs dialogs;
    FixedClock clock;
    System system;

    // The same machine with other files.
    System Over(Files& otherFiles, unsigned codePage = 1252) {
        return {otherFiles, registry, processes, windows, libraries, dialogs, clock, codePage};
    }
};

}  // namespace platform::testing
