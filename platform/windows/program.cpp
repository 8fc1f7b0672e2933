#include "platform/os/program.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>

namespace platform {

namespace {

std::wstring Wide(std::string_view text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::string Utf8(std::wstring_view wide) {
    const int size = static_cast<int>(wide.size());
    std::string text(wide.size() * 3, '\0');
    text.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, text.data(),
                            static_cast<int>(text.size()), nullptr, nullptr)));
    return text;
}

class NativeLibrary : public Library {
  public:
    explicit NativeLibrary(HMODULE handle) : m_handle(handle) {}
    ~NativeLibrary() override { FreeLibrary(m_handle); }
    NativeLibrary(const NativeLibrary&) = delete;
    NativeLibrary& operator=(const NativeLibrary&) = delete;
    void* Symbol(const char* name) override {
        return reinterpret_cast<void*>(GetProcAddress(m_handle, name));
    }

  private:
    HMODULE m_handle;
};

}  // namespace

Result<std::unique_ptr<Library>> LoadNativeLibrary(std::string_view path) {
    const HMODULE handle =
        LoadLibraryExW(Wide(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle == nullptr) {
        const DWORD error = GetLastError();
        const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_MOD_NOT_FOUND;
        return Failure{missing ? ErrorCode::kNotFound : ErrorCode::kCorrupt, std::string(path),
                       static_cast<int>(error)};
    }
    return std::unique_ptr<Library>(std::make_unique<NativeLibrary>(handle));
}

std::string ProgramPath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return Utf8(path);
}

std::vector<std::string> ProgramArguments(int /*argc*/, char** /*argv*/) {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const list = CommandLineToArgvW(GetCommandLineW(), &count);
    if (list == nullptr) return arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(Utf8(list[i]));
    LocalFree(list);
    return arguments;
}

std::optional<std::string> Environment(const std::string& name) {
    std::wstring value(32768, L'\0');
    value.resize(GetEnvironmentVariableW(Wide(name).c_str(), value.data(),
                                         static_cast<DWORD>(value.size())));
    if (value.empty()) return std::nullopt;
    return Utf8(value);
}

Status SetEnvironment(const std::string& name, const std::string& value) {
    if (!SetEnvironmentVariableW(Wide(name).c_str(), Wide(value).c_str())) {
        return Failure{ErrorCode::kInvalidArgument, name, static_cast<int>(GetLastError())};
    }
    return {};
}

bool IsTerminal(Stream stream) {
    return _isatty(static_cast<int>(stream)) != 0;
}

void UseBinaryStreams() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

unsigned long ProcessNumber() {
    return GetCurrentProcessId();
}

}  // namespace platform
