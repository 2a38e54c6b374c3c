// qvsystem_names: the base name and the extension of a path.
//
// Works on the caller's string only: results point into it and nothing is
// cleaned, copied or allocated. '/' and '\\' end a folder part, ':' ends a
// drive prefix. One template serves the narrow and the wide form.

#include "qvsystem.h"

namespace {

template <typename Char> Char *baseOf(const Char *path)
{
    const Char *afterSeparator = nullptr;
    const Char *afterColon = nullptr;
    for (const Char *pos = path; *pos; ++pos) {
        if (*pos == Char('/') || *pos == Char('\\'))
            afterSeparator = pos + 1;
        else if (*pos == Char(':'))
            afterColon = pos + 1;
    }
    const Char *base = afterSeparator ? afterSeparator : afterColon ? afterColon : path;
    return const_cast<Char *>(base);
}

template <typename Char> Char *extensionOf(const Char *path)
{
    Char *pos = baseOf(path);
    Char *lastDot = nullptr;
    for (; *pos; ++pos)
        if (*pos == Char('.'))
            lastDot = pos;
    return lastDot ? lastDot : pos;
}

} // namespace

extern "C" {

wchar_t *SFileBase(const wchar_t *path)
{
    return path ? baseOf(path) : nullptr;
}
char *SFileBaseA(const char *path)
{
    return path ? baseOf(path) : nullptr;
}
wchar_t *SFileExt(const wchar_t *path)
{
    return path ? extensionOf(path) : nullptr;
}
char *SFileExtA(const char *path)
{
    return path ? extensionOf(path) : nullptr;
}

} // extern "C"
