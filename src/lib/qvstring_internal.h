// qvstring_internal: text helpers shared by the library's sources (the
// stamps of qvstring and the clock texts of qvsystim). Internal to the
// library; not installed.
#ifndef QVSTRING_INTERNAL_H
#define QVSTRING_INTERNAL_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cwchar>
#include <string>

// Hidden: the shared library exports only the public functions.
#pragma GCC visibility push(hidden)

namespace qvstring {

inline int printInto(char *buf, size_t size, const char *format, va_list args)
{
    return std::vsnprintf(buf, size, format, args);
}

inline int printInto(wchar_t *buf, size_t size, const wchar_t *format, va_list args)
{
    return std::vswprintf(buf, size, format, args);
}

// Prints at the end of the text already in buf, cut to size; a text that
// already fills size - 1 characters gets nothing. The wide printer fails
// on a cut and may leave the text unterminated, so a failure terminates it.
template <typename Ch> void appendf(Ch *buf, size_t size, const Ch *format, ...)
{
    const size_t used = std::char_traits<Ch>::length(buf);
    if (used + 1 >= size)
        return;
    va_list args;
    va_start(args, format);
    if (printInto(buf + used, size - used, format, args) < 0)
        buf[size - 1] = Ch(0);
    va_end(args);
}

} // namespace qvstring

#pragma GCC visibility pop

#endif // QVSTRING_INTERNAL_H
