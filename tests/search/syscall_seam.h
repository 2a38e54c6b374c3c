// Calls of the C library the search code makes, turned aside in test_search: while a test holds a hook for a name,
// its calls (from every thread) reach the hook first; a value it returns is the call's result (errno as it left it),
// none passes it on. A SEAM_CALLS line: result, name, parameters, arguments passed on, noexcept as the C library says.
#pragma once

#include <functional>
#include <optional>
#include <pthread.h>
#include <sys/types.h>

#define SEAM_CALLS(X)                                                                                                  \
    X(ssize_t, getdents64, (int fd, void *buffer, size_t size), (fd, buffer, size), noexcept)                          \
    X(ssize_t, write, (int fd, const void *bytes, size_t count), (fd, bytes, count), )                                 \
    X(int, pthread_create, (pthread_t * thread, const pthread_attr_t *attributes, void *(*start)(void *), void *arg),  \
      (thread, attributes, start, arg), noexcept)                                                                      \
    X(int, pthread_join, (pthread_t thread, void **result), (thread, result), )                                        \
    X(int, pthread_cond_wait, (pthread_cond_t * condition, pthread_mutex_t * mutex), (condition, mutex), )

namespace seam {

#define SEAM_HOOK(result, name, parameters, arguments, ...) inline std::function<std::optional<result> parameters> name;
SEAM_CALLS(SEAM_HOOK)
// syscall(number, ...) with its six arguments, openat without its mode, new (std::nothrow) char[size] (null: failed).
inline std::function<std::optional<long>(long number, const long *arguments)> syscall;
inline std::function<std::optional<int>(int dirFd, const char *path, int flags)> openat;
inline std::function<std::optional<void *>(size_t size)> newArray;

// The C library's openat, for a hook that acts after the call.
int realOpenat(int dirFd, const char *path, int flags, unsigned mode = 0);

// Holds a hook until the end of the scope.
template <class Hook> struct Hooked {
    template <class Callable> Hooked(Hook &held, Callable &&hook) : held(held) { held = std::forward<Callable>(hook); }
    ~Hooked() { held = nullptr; }
    Hook &held;
};

} // namespace seam
