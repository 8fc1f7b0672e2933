#include "platform/os/program.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <new>

#include "platform/windows/native_parts.h"
#include "platform/windows/system_call.h"
#include "platform/windows/wide_text.h"
// After the basic header, which it builds on.
#include <shellapi.h>

namespace platform {

using windows::Narrow;
using windows::Wide;

Result<std::unique_ptr<Library>> LoadNativeLibrary(std::string_view path) {
    return windows::LoadCode(path, CP_UTF8);
}

std::string ProgramPath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return Narrow(path, CP_UTF8);
}

std::vector<std::string> ProgramArguments(int /*argc*/, char** /*argv*/) {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const list = CommandLineToArgvW(GetCommandLineW(), &count);
    if (list == nullptr) return arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(Narrow(list[i], CP_UTF8));
    LocalFree(list);
    return arguments;
}

std::optional<std::string> Environment(const std::string& name) {
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(Wide(name, CP_UTF8).c_str(), value.data(),
                                         static_cast<DWORD>(value.size())));
    if (value.empty()) return std::nullopt;
    return Narrow(value, CP_UTF8);
}

Status SetEnvironment(const std::string& name, const std::string& value) {
    if (!SetEnvironmentVariableW(Wide(name, CP_UTF8).c_str(), Wide(value, CP_UTF8).c_str())) {
        return windows::FromLastError(name);
    }
    return {};
}

bool IsTerminal(Stream stream) {
    return _isatty(static_cast<int>(stream)) != 0;
}

std::optional<std::size_t> TerminalColumns() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return std::nullopt;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

void UseBinaryStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

// Who may write there decides who made it: the folders above keep others out.
bool IsOwnFolder(const std::string& path) {
    const DWORD attributes = GetFileAttributesW(Wide(path, CP_UTF8).c_str());
    const DWORD kinds = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & kinds) == FILE_ATTRIBUTE_DIRECTORY;
}

unsigned long ProcessNumber() {
    return GetCurrentProcessId();
}

// Larger pages take a privilege there that people do not have.
LargeBlock AllocateBlock(std::size_t size) {
    void* const block = std::malloc(size | 1);
    if (block == nullptr) throw std::bad_alloc();
    return LargeBlock(static_cast<char*>(block));
}

}  // namespace platform
