// The search code's openat, turned aside in test_search: while a test holds
// the hook, every call reaches it first. A result it returns is the call's
// (errno as the hook left it); none passes the call on to the C library,
// which the hook may also call itself (realOpenat) to act after the call.
// A walk calls the hook from all its threads at once.
#pragma once

#include <functional>
#include <optional>

namespace seam {

inline std::function<std::optional<int>(int dirFd, const char *path, int flags)> openat;
int realOpenat(int dirFd, const char *path, int flags, unsigned mode = 0);

} // namespace seam
