#include "platform/os/system.h"
#include "platform/windows/native_clock.h"
#include "platform/windows/native_dialogs.h"
#include "platform/windows/native_files.h"
#include "platform/windows/native_libraries.h"
#include "platform/windows/native_processes.h"
#include "platform/windows/native_registry.h"
#include "platform/windows/windows_api.h"

namespace platform {

namespace {

struct NativeParts {
    windows::WindowsFiles files{CP_ACP};
    windows::NativeRegistry registry;
    windows::NativeProcesses processes;
    windows::NativeWindows theirWindows;
    windows::NativeLibraries libraries;
    windows::NativeDialogs dialogs;
    windows::NativeClock clock;
    System system{files, registry, processes, theirWindows, libraries, dialogs, clock, GetACP()};
};

NativeParts& Parts() {
    static NativeParts parts;
    return parts;
}

}  // namespace

const System& NativeSystem() {
    return Parts().system;
}

void SetDialogSource(Dialogs* (*source)()) {
    Parts().dialogs.SetSource(source);
}

Files& NativeFiles() {
    static windows::WindowsFiles files(CP_UTF8);
    return files;
}

void KeepNewFilesPrivate() {}

}  // namespace platform
