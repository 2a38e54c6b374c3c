// Match reports. Texts are written as "%.*s" would write them: up to the
// given length or to the first NUL byte, whichever comes first.
#include "report.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

void putText(const char *text, size_t len)
{
    const void *nul = std::memchr(text, 0, len);
    if (nul != nullptr)
        len = static_cast<size_t>(static_cast<const char *>(nul) - text);
    fwrite_unlocked(text, 1, len, stdout);
}

void putHead(const char *name, const char *number, size_t numberLen)
{
    fputs_unlocked(name, stdout);
    fwrite_unlocked(" (", 1, 2, stdout);
    fwrite_unlocked(number, 1, numberLen, stdout);
    fwrite_unlocked("): ", 1, 3, stdout);
}

} // namespace

void ReportLine(const char *name, int64_t lineNumber, const char *text, size_t len)
{
    char number[24];
    auto end = std::to_chars(number, number + sizeof number, lineNumber).ptr;
    putHead(name, number, static_cast<size_t>(end - number));
    putText(text, len);
    putc_unlocked('\n', stdout);
}

void ReportMatch(const char *name, int64_t offset, const char *bytes, size_t len)
{
    char number[24] = "0x";
    size_t numberLen = 1;
    if (offset != 0) {
        auto end = std::to_chars(number + 2, number + sizeof number,
                                 static_cast<uint64_t>(offset), 16).ptr;
        numberLen = static_cast<size_t>(end - number);
    } else {
        number[0] = '0';
    }
    putHead(name, number, numberLen);
    putText(bytes, len);
    putc_unlocked('\n', stdout);
}
