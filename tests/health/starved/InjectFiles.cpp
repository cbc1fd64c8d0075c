// The operations on files that a full disk, a quota or a read-only file system refuses.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "../../sweep/Inject.h"

namespace {

template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool Refuses(const char* what, int error) {
    if (!sweep::Fails(sweep::Kind::Call, what))
        return false;
    errno = error;
    return true;
}

bool IsFile(int file) {
    struct stat status {};
    return sweep::Run() != nullptr && fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

bool RefusesToOpen(const char* path, int flags) {
    return (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0 && path[1] != 'd' && Refuses("open", EROFS);
}

}  // namespace

// libc declares its parameters with reserved names.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp)
extern "C" {

ssize_t write(int file, const void* text, std::size_t bytes) {
    static const auto real = Real<ssize_t(int, const void*, std::size_t)>("write");
    return IsFile(file) && Refuses("write", ENOSPC) ? -1 : real(file, text, bytes);
}

ssize_t pwrite64(int file, const void* text, std::size_t bytes, off64_t at) {
    static const auto real = Real<ssize_t(int, const void*, std::size_t, off64_t)>("pwrite64");
    return IsFile(file) && Refuses("pwrite", EDQUOT) ? -1 : real(file, text, bytes, at);
}

int ftruncate(int file, off_t bytes) {
    static const auto real = Real<int(int, off_t)>("ftruncate");
    return IsFile(file) && Refuses("ftruncate", ENOSPC) ? -1 : real(file, bytes);
}

int fsync(int file) {
    static const auto real = Real<int(int)>("fsync");
    return IsFile(file) && Refuses("fsync", EDQUOT) ? -1 : real(file);
}

int rename(const char* from, const char* to) {
    static const auto real = Real<int(const char*, const char*)>("rename");
    return Refuses("rename", ENOSPC) ? -1 : real(from, to);
}

int mkdir(const char* path, mode_t mode) {
    static const auto real = Real<int(const char*, mode_t)>("mkdir");
    return Refuses("mkdir", EROFS) ? -1 : real(path, mode);
}

int unlink(const char* path) {
    static const auto real = Real<int(const char*)>("unlink");
    return Refuses("unlink", EROFS) ? -1 : real(path);
}

int open(const char* path, int flags, ...) {
    static const auto real = Real<int(const char*, int, ...)>("open");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return RefusesToOpen(path, flags) ? -1 : real(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    static const auto real = Real<int(const char*, int, ...)>("open64");
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return RefusesToOpen(path, flags) ? -1 : real(path, flags, mode);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp)
