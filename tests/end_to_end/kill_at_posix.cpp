// Preloaded into a program, kills it in front of call number KILL_AT of those that change something
// on the disk.
#include <dlfcn.h>

#include <csignal>
#include <cstdlib>

namespace {

void Count() {
    static long left = std::getenv("KILL_AT") != nullptr ? std::atol(std::getenv("KILL_AT")) : 0;
    if (left > 0 && --left == 0) (void)std::raise(SIGKILL);
}

}  // namespace

#define COUNTED(type, name, parameters, arguments)                                              \
    extern "C" type name parameters {                                                           \
        Count();                                                                                \
        static const auto next = reinterpret_cast<type(*) parameters>(dlsym(RTLD_NEXT, #name)); \
        return next arguments;                                                                  \
    }

COUNTED(long, write, (int file, const void* bytes, unsigned long count), (file, bytes, count))
COUNTED(long, pwrite64, (int file, const void* bytes, unsigned long count, long at),
        (file, bytes, count, at))
COUNTED(long, copy_file_range,
        (int from, long* at, int to, long* target, unsigned long count, unsigned flags),
        (from, at, to, target, count, flags))
COUNTED(int, ftruncate, (int file, long size), (file, size))
COUNTED(int, ftruncate64, (int file, long size), (file, size))
COUNTED(int, fsync, (int file), (file))
COUNTED(int, fdatasync, (int file), (file))
COUNTED(int, syncfs, (int file), (file))
COUNTED(int, rename, (const char* from, const char* to), (from, to))
COUNTED(int, renameat2, (int folder, const char* from, int other, const char* to, unsigned flags),
        (folder, from, other, to, flags))
COUNTED(int, link, (const char* from, const char* to), (from, to))
COUNTED(int, unlink, (const char* path), (path))
COUNTED(int, rmdir, (const char* path), (path))
COUNTED(int, mkdir, (const char* path, unsigned mode), (path, mode))
COUNTED(int, symlink, (const char* target, const char* path), (target, path))
