// Reports. Match reports are put together by hand on the hot path, texts
// written as "%.*s" would write them: up to the given length or to the
// first NUL byte, whichever comes first, and gathered in a per-thread batch
// that ReportFlush hands to the output. Every other message is formatted
// whole with the C library's printf rules and written in one piece, so
// that a message of the walk is one unit of the ordered output.
#include "report.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "output.h"

namespace {

__attribute__((format(printf, 1, 2))) void message(const char *format, ...)
{
    char small[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(small, sizeof small, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    if (static_cast<size_t>(length) < sizeof small) {
        OutputWrite(small, static_cast<size_t>(length));
        return;
    }
    std::string large(static_cast<size_t>(length) + 1, '\0');
    va_start(arguments, format);
    vsnprintf(large.data(), large.size(), format, arguments);
    va_end(arguments);
    OutputWrite(large.data(), static_cast<size_t>(length));
}

const char *plural(int64_t number)
{
    return number == 1 ? "" : "s";
}

const char *shown(const char *text)
{
    return text != nullptr ? text : "(null)";
}

// Match reports gathered for one output call. Handing each line to the
// output on its own cost about as much as finding its match.
constexpr size_t kBatchSize = 16 << 10;
struct ReportBatch {
    size_t used = 0;
    char bytes[kBatchSize];
};
thread_local ReportBatch t_batch;

// Adds name " (" number "): " text "\n", text cut at its first NUL, to the
// batch; a line longer than the whole batch goes out in pieces instead.
void putReport(const char *name, const char *number, size_t numberLen, const char *text, size_t len)
{
    const void *nul = std::memchr(text, 0, len);
    if (nul != nullptr)
        len = static_cast<size_t>(static_cast<const char *>(nul) - text);
    const size_t nameLen = std::strlen(name);
    const size_t need = nameLen + numberLen + len + 6;
    if (need > kBatchSize - t_batch.used) {
        ReportFlush();
        if (need > kBatchSize) {
            OutputWrite(name, nameLen);
            OutputWrite(" (", 2);
            OutputWrite(number, numberLen);
            OutputWrite("): ", 3);
            OutputWrite(text, len);
            OutputWrite("\n", 1);
            return;
        }
    }
    char *at = t_batch.bytes + t_batch.used;
    const auto put = [&at](const char *bytes, size_t count) {
        std::memcpy(at, bytes, count);
        at += count;
    };
    put(name, nameLen);
    put(" (", 2);
    put(number, numberLen);
    put("): ", 3);
    put(text, len);
    put("\n", 1);
    t_batch.used = static_cast<size_t>(at - t_batch.bytes);
}

} // namespace

void ReportFlush()
{
    if (t_batch.used == 0)
        return;
    OutputWrite(t_batch.bytes, t_batch.used);
    t_batch.used = 0;
}

void ReportLine(const char *name, int64_t lineNumber, const char *text, size_t len)
{
    char number[24];
    auto end = std::to_chars(number, number + sizeof number, lineNumber).ptr;
    putReport(name, number, static_cast<size_t>(end - number), text, len);
}

void ReportMatch(const char *name, int64_t offset, const char *bytes, size_t len)
{
    char number[24] = "0x";
    size_t numberLen = 1;
    if (offset != 0) {
        auto end = std::to_chars(number + 2, number + sizeof number, static_cast<uint64_t>(offset), 16).ptr;
        numberLen = static_cast<size_t>(end - number);
    } else {
        number[0] = '0';
    }
    putReport(name, number, numberLen, bytes, len);
}

void ReportBanner(const char *program, const char *version, const char *notice)
{
    message("\n%s %s %s\n", program, version, notice);
}

void ReportUsage(const char *program)
{
    message("Searches files for text patterns\n\nUsage:\t%s [-options] pattern directory filetypes\n\n"
            "options:\n"
            "  -s  also search subdirectories\n"
            "  -f  list file names only\n"
            "  -b  binary search (default is text line search)\n"
            "  -c  case sensitive search (default is case insensitive)\n"
            "  -l  just count number of lines in files (no pattern search)\n"
            "  -r  regular expression search\n"
            "  -v  verbose\n"
            "  -w  match word\n"
            "\n",
            program);
}

void ReportNoPattern()
{
    message("No search pattern specified");
}

void ReportSyntaxError()
{
    message("Syntax error in search pattern");
}

void ReportSearching(const char *pattern, const char *directory, const char *masks, bool verbose)
{
    if (verbose)
        message("Searching for \"%s\" from \"%s\" in files \"%s\"\n", pattern, shown(directory), shown(masks));
    else
        message("Searching for \"%s\"\n", pattern);
}

void ReportPatternCut(const char *pattern)
{
    message("Warning: pattern is too long, truncated to: \"%s\"\n", pattern);
}

void ReportWordMatchOff()
{
    message("Warning: word matching switched off\n");
}

void ReportArgumentNotFound(const char *directory)
{
    message("\"%s\" not found\n", shown(directory));
}

void ReportPathNotFound(const char *path)
{
    message("%s not found\n", path);
}

void ReportMaskInsteadOfFile()
{
    message("Warning: using specified mask instead of filename\n");
}

void ReportTrying(const char *folder, int count)
{
    message("Trying: %s: %d files found\n", folder, count);
}

void ReportFileName(const char *path)
{
    message("File  : %s\n", path);
}

void ReportUnopenable(const char *path)
{
    message("unable to open file %s\n", path);
}

void ReportFileCount(const char *path, int64_t total)
{
    message("%s : %lld occurrence%s.\n", path, static_cast<long long>(total), plural(total));
}

void ReportSummary(bool countLines, int64_t count, int64_t files, int64_t filesTried)
{
    if (countLines)
        message("%lld lines counted in %lld file%s.\n", static_cast<long long>(count), static_cast<long long>(files),
                plural(files));
    else
        message("%lld occurrence%s found in %lld file%s (%lld file%s searched).\n", static_cast<long long>(count),
                plural(count), static_cast<long long>(files), plural(files), static_cast<long long>(filesTried),
                plural(filesTried));
}
