// Reports. Match reports are put together by hand on the hot path, texts
// written as "%.*s" would write them: up to the given length or to the
// first NUL byte, whichever comes first (a line holds none: NUL ends it),
// and gathered in a batch of the searching thread that ReportFlush hands to
// the output. Every other message is formatted
// whole with the C library's printf rules and written in one piece, so
// that a message of the walk is one unit of the ordered output.
#include "report.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "bytescan.h"
#include "output.h"

namespace {

__attribute__((format(printf, 2, 3))) void message(OutputSink &out, const char *format, ...)
{
    char small[512];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(small, sizeof small, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    if (static_cast<size_t>(length) < sizeof small) {
        out.Write(small, static_cast<size_t>(length));
        return;
    }
    std::string large(static_cast<size_t>(length) + 1, '\0');
    va_start(arguments, format);
    vsnprintf(large.data(), large.size(), format, arguments);
    va_end(arguments);
    out.Write(large.data(), static_cast<size_t>(length));
}

const char *plural(int64_t number)
{
    return number == 1 ? "" : "s";
}

const char *shown(const char *text)
{
    return text != nullptr ? text : "(null)";
}

// The longest number a report shows: 19 decimal digits of an int64_t, or
// "0x" and 16 hex digits.
constexpr size_t kNumberMax = 20;

void writeBatch(ReportBatch &batch, const char *bytes, size_t len)
{
    if (batch.out != nullptr)
        batch.out->Write(bytes, len);
    else
        fwrite(bytes, 1, len, stdout);
}

// The line number as text at `at`; returns where it ends.
char *putLineNumber(char *at, int64_t number)
{
    if (static_cast<uint64_t>(number) < 100000000)
        return PutDecimalBelow1e8(at, static_cast<uint64_t>(number));
    return std::to_chars(at, at + kNumberMax, number).ptr;
}

// Adds name " (" number "): " text "\n" to the batch, the number put by
// putNumber(at) (which returns where it ends and may write up to
// kNumberMax bytes there) and the first `folded` bytes of text in lower
// case; a report longer than the whole batch goes out in pieces instead.
template <typename PutNumber>
void putReport(ReportBatch &batch, PutNumber putNumber, const char *text, size_t len, size_t folded)
{
    const size_t need = batch.nameLen + kNumberMax + len + 6;
    if (need > kReportBatchSize - batch.used) {
        ReportFlush(batch);
        if (need > kReportBatchSize) {
            char number[kNumberMax];
            const char *numberEnd = putNumber(number);
            std::string shown(text, len);
            FoldCapitals(reinterpret_cast<unsigned char *>(shown.data()), folded < len ? folded : len);
            writeBatch(batch, batch.name, batch.nameLen);
            writeBatch(batch, " (", 2);
            writeBatch(batch, number, static_cast<size_t>(numberEnd - number));
            writeBatch(batch, "): ", 3);
            writeBatch(batch, shown.data(), len);
            writeBatch(batch, "\n", 1);
            return;
        }
    }
    char *at = batch.bytes + batch.used;
    std::memcpy(at, batch.name, batch.nameLen);
    at += batch.nameLen;
    *at++ = ' ';
    *at++ = '(';
    at = putNumber(at);
    *at++ = ')';
    *at++ = ':';
    *at++ = ' ';
    std::memcpy(at, text, len);
    if (folded != 0)
        FoldCapitals(reinterpret_cast<unsigned char *>(at), folded < len ? folded : len);
    at += len;
    *at++ = '\n';
    batch.used = static_cast<size_t>(at - batch.bytes);
}

} // namespace

void ReportFlush(ReportBatch &batch)
{
    if (batch.used == 0)
        return;
    writeBatch(batch, batch.bytes, batch.used);
    batch.used = 0;
}

void ReportLineAnyway(ReportBatch &batch, int64_t lineNumber, const char *text, size_t len, size_t folded)
{
    putReport(
        batch, [lineNumber](char *at) { return putLineNumber(at, lineNumber); }, text, len, folded);
}

void ReportMatch(ReportBatch &batch, int64_t offset, const char *bytes, size_t len, size_t folded)
{
    // Written as "%.*s" writes: up to the first NUL.
    if (const void *nul = std::memchr(bytes, 0, len))
        len = static_cast<size_t>(static_cast<const char *>(nul) - bytes);
    putReport(
        batch,
        [offset](char *at) {
            if (offset == 0) {
                *at = '0';
                return at + 1;
            }
            at[0] = '0';
            at[1] = 'x';
            return std::to_chars(at + 2, at + kNumberMax, static_cast<uint64_t>(offset), 16).ptr;
        },
        bytes, len, folded);
}

void ReportBanner(OutputSink &out, const char *program, const char *version, const char *notice)
{
    message(out, "\n%s %s %s\n", program, version, notice);
}

void ReportUsage(OutputSink &out, const char *program)
{
    message(out,
            "Searches files for text patterns\n\nUsage:\t%s [-options] pattern directory filetypes\n\n"
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

void ReportNoPattern(OutputSink &out)
{
    message(out, "No search pattern specified");
}

void ReportSyntaxError(OutputSink &out)
{
    message(out, "Syntax error in search pattern");
}

void ReportSearching(OutputSink &out, const char *pattern, const char *directory, const char *masks, bool verbose)
{
    if (verbose)
        message(out, "Searching for \"%s\" from \"%s\" in files \"%s\"\n", pattern, shown(directory), shown(masks));
    else
        message(out, "Searching for \"%s\"\n", pattern);
}

void ReportPatternCut(OutputSink &out, const char *pattern)
{
    message(out, "Warning: pattern is too long, truncated to: \"%s\"\n", pattern);
}

void ReportWordMatchOff(OutputSink &out)
{
    message(out, "Warning: word matching switched off\n");
}

void ReportArgumentNotFound(OutputSink &out, const char *directory)
{
    message(out, "\"%s\" not found\n", shown(directory));
}

void ReportPathNotFound(OutputSink &out, const char *path)
{
    message(out, "%s not found\n", path);
}

void ReportMaskInsteadOfFile(OutputSink &out)
{
    message(out, "Warning: using specified mask instead of filename\n");
}

void ReportTrying(OutputSink &out, const char *folder, int count)
{
    message(out, "Trying: %s: %d files found\n", folder, count);
}

void ReportFileName(OutputSink &out, const char *path)
{
    message(out, "File  : %s\n", path);
}

void ReportUnopenable(OutputSink &out, const char *path)
{
    message(out, "unable to open file %s\n", path);
}

void ReportFileCount(OutputSink &out, const char *path, int64_t total)
{
    message(out, "%s : %lld occurrence%s.\n", path, static_cast<long long>(total), plural(total));
}

void ReportSummary(OutputSink &out, bool countLines, int64_t count, int64_t files, int64_t filesTried)
{
    if (countLines)
        message(out, "%lld lines counted in %lld file%s.\n", static_cast<long long>(count),
                static_cast<long long>(files), plural(files));
    else
        message(out, "%lld occurrence%s found in %lld file%s (%lld file%s searched).\n", static_cast<long long>(count),
                plural(count), static_cast<long long>(files), plural(files), static_cast<long long>(filesTried),
                plural(filesTried));
}
