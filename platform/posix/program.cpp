#include "platform/os/program.h"
#include "platform/os/not_copied.h"

#include <dlfcn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <new>

#include "platform/posix/system_call.h"

namespace platform {

namespace {

class SharedObject : public Library, NotCopied {
  public:
    explicit SharedObject(void* handle) : m_handle(handle) {}
    ~SharedObject() override { dlclose(m_handle); }
    void* Symbol(const char* name) override { return dlsym(m_handle, name); }

  private:
    void* m_handle;
};

}  // namespace

std::unique_ptr<Library> posix::LoadSharedObject(const std::string& file) {
    void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    return handle != nullptr ? std::make_unique<SharedObject>(handle) : nullptr;
}

Result<std::unique_ptr<Library>> LoadNativeLibrary(std::string_view path) {
    const std::string name(path);
    if (access(name.c_str(), F_OK) != 0) return Failure{ErrorCode::kNotFound, name, errno};
    auto library = posix::LoadSharedObject(name);
    if (library) return library;
    const char* const reason = dlerror();
    return Failure{ErrorCode::kCorrupt, reason != nullptr ? reason : name};
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

std::optional<std::size_t> TerminalColumns() {
    winsize size{};
    const bool isTold = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isTold ? std::optional<std::size_t>(size.ws_col) : std::nullopt;
}

void UseBinaryStreams() {}

bool IsOwnFolder(const std::string& path) {
    struct stat info;
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

unsigned long ProcessNumber() {
    return static_cast<unsigned long>(getpid());
}

LargeBlock AllocateBlock(std::size_t size) {
    constexpr std::size_t kLargePage = 2 << 20;  // bytes
    const bool isLarge = size >= 2 * kLargePage;
    const std::size_t whole = isLarge ? (size + kLargePage - 1) & ~(kLargePage - 1) : size;
    void* const block = isLarge ? std::aligned_alloc(kLargePage, whole) : std::malloc(whole | 1);
    if (block == nullptr) throw std::bad_alloc();
    // Advice: without larger pages the block is as good, and slower.
    if (isLarge) (void)madvise(block, whole, MADV_HUGEPAGE);
    return LargeBlock(static_cast<char*>(block));
}

}  // namespace platform
