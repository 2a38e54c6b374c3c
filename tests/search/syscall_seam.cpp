#include "syscall_seam.h"

#include <cstdarg>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <unistd.h>

#define SEAM_DEFINE(result, name, parameters, arguments, exceptions)                                                   \
    extern "C" result name parameters exceptions                                                                       \
    {                                                                                                                  \
        if (const std::optional<result> hooked = seam::name ? seam::name arguments : std::nullopt)                     \
            return *hooked;                                                                                            \
        static const auto real = reinterpret_cast<result(*) parameters>(dlsym(RTLD_NEXT, #name));                      \
        return real arguments;                                                                                         \
    }
SEAM_CALLS(SEAM_DEFINE)

extern "C" long syscall(long number, ...) noexcept
{
    long arguments[6];
    va_list list;
    va_start(list, number);
    for (long &argument : arguments)
        argument = va_arg(list, long);
    va_end(list);
    if (const std::optional<long> hooked = seam::syscall ? seam::syscall(number, arguments) : std::nullopt)
        return *hooked;
    static const auto real = reinterpret_cast<long (*)(long, ...)>(dlsym(RTLD_NEXT, "syscall"));
    return real(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

int seam::realOpenat(int dirFd, const char *path, int flags, unsigned mode)
{
    static const auto real = reinterpret_cast<int (*)(int, const char *, int, ...)>(dlsym(RTLD_NEXT, "openat"));
    return real(dirFd, path, flags, mode);
}

extern "C" int openat(int dirFd, const char *path, int flags, ...)
{
    va_list list;
    va_start(list, flags);
    const unsigned mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(list, unsigned) : 0; // given only with these
    va_end(list);
    if (const std::optional<int> hooked = seam::openat ? seam::openat(dirFd, path, flags) : std::nullopt)
        return *hooked;
    return seam::realOpenat(dirFd, path, flags, mode);
}

// Asks the throwing form, so that what it gives is freed as the C++ library's own (or a sanitizer's) would be.
void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    if (const std::optional<void *> hooked = seam::newArray ? seam::newArray(size) : std::nullopt)
        return *hooked;
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
