#include "walk_seam.h"

#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>

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
    if (seam::openat)
        if (const std::optional<int> hooked = seam::openat(dirFd, path, flags))
            return *hooked;
    return seam::realOpenat(dirFd, path, flags, mode);
}
