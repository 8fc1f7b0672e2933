#include "platform/os/program.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace platform {

namespace {

class NativeLibrary : public Library {
  public:
    explicit NativeLibrary(void* handle) : m_handle(handle) {}
    ~NativeLibrary() override { dlclose(m_handle); }
    NativeLibrary(const NativeLibrary&) = delete;
    NativeLibrary& operator=(const NativeLibrary&) = delete;
    void* Symbol(const char* name) override { return dlsym(m_handle, name); }

  private:
    void* m_handle;
};

}  // namespace

Result<std::unique_ptr<Library>> LoadNativeLibrary(std::string_view path) {
    const std::string name(path);
    if (access(name.c_str(), F_OK) != 0) return Failure{ErrorCode::kNotFound, name, errno};
    void* const handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* const reason = dlerror();
        return Failure{ErrorCode::kCorrupt, reason != nullptr ? reason : name};
    }
    return std::unique_ptr<Library>(std::make_unique<NativeLibrary>(handle));
}

std::string ProgramPath() {
    std::array<char, 4096> buffer{};
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length <= 0) return {};
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::vector<std::string> ProgramArguments(int argc, char** argv) {
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

std::optional<std::string> Environment(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    if (value == nullptr || *value == '\0') return std::nullopt;
    return std::string(value);
}

Status SetEnvironment(const std::string& name, const std::string& value) {
    if (setenv(name.c_str(), value.c_str(), 1) != 0) {
        return Failure{ErrorCode::kInvalidArgument, name, errno};
    }
    return {};
}

bool IsTerminal(Stream stream) {
    return isatty(static_cast<int>(stream)) != 0;
}

void UseBinaryStreams() {}

bool IsOwnFolder(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

unsigned long ProcessNumber() {
    return static_cast<unsigned long>(getpid());
}

}  // namespace platform
