// Reports: every message of the tool, in its exact words and format. They
// all go through an output sink (output.h), so they appear in the order of
// a one-thread run whichever thread prints them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "bytescan.h"

class OutputSink;

// One searching thread's gathered match reports: handing each line to the
// output on its own costs about as much as finding its match. A full batch
// is large enough to be written out without a copy on the way.
inline constexpr size_t kReportBatchSize = 64 << 10;
struct ReportBatch {
    OutputSink *out;                // where the reports go; null: straight to standard output
    size_t used;                    // bytes gathered; 0 to start
    const char *name = nullptr;     // the path the reports show (ReportName)
    size_t nameLen = 0;             // its length in bytes
    char nameCopy[512];             // the path and " (", when shorter, with room to copy them in whole blocks
    const char *shownEnd = nullptr; // the end of the bytes the reports show, which may be read up to
    uint64_t lastLine = 0;          // a line number ReportLine put (below 10^8)...
    uint64_t lastDigits = 0;        // ...its decimal digits, one a byte, the last one in the lowest byte
    char bytes[kReportBatchSize];   // the reports, one after the other
};

// The match reports (the two below) are gathered in a batch and reach the
// output at ReportFlush, which the matcher calls before it returns; it
// hands what batch holds to the output and empties it.
void ReportFlush(ReportBatch &batch);

// What CopyInBlocks may read and write past the end of a copy, and the
// longest line ReportLine copies with it.
inline constexpr size_t kCopyOver = 31;
inline constexpr size_t kBlockCopyMost = 256;

// The path the match reports below show, nameLen bytes long, until the
// next call: it is the same for all of a file's reports. The lines they
// show lie in bytes that end at shownEnd.
inline void ReportName(ReportBatch &batch, const char *name, size_t nameLen, const char *shownEnd)
{
    batch.name = name;
    batch.nameLen = nameLen;
    batch.shownEnd = shownEnd;
    if (nameLen + 2 + kCopyOver <= sizeof batch.nameCopy) {
        std::memcpy(batch.nameCopy, name, nameLen);
        std::memcpy(batch.nameCopy + nameLen, " (", 2);
    }
}

// Copies len bytes in 32-byte steps: up to kCopyOver bytes after from[len)
// are read and after to[len) written, so both must be the caller's. Short
// copies of a length that mostly repeats (a name) take no call and no
// branch on the length's size.
inline void CopyInBlocks(char *to, const char *from, size_t len)
{
#if defined(__SSE2__)
    for (size_t i = 0; i < len; i += 32) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + i));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + i + 16));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to + i), low);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(to + i + 16), high);
    }
#else
    std::memcpy(to, from, len);
#endif
}

// Copies 64 bytes, all of which must be the caller's at both ends: most
// names and lines are shorter, and one fixed copy of them takes no loop.
inline void Copy64(char *to, const char *from)
{
#if defined(__SSE2__)
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + 16));
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + 32));
    const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i *>(from + 48));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to), a);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 16), b);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 32), c);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 48), d);
#else
    std::memcpy(to, from, 64);
#endif
}

// The decimal digits of number, below 10^8, one a byte, the most
// significant in the lowest byte (leading zeros as 0). Four digits a lane
// in two lanes, then two in four, then one in eight: no division, no loop,
// no branch.
inline uint64_t DecimalLanes(uint64_t number)
{
    uint64_t lanes = number / 10000 | (number % 10000) << 32;
    uint64_t high = (lanes * 10486 >> 20) & 0x0000007F0000007Full; // each lane / 100
    lanes = high | (lanes - high * 100) << 16;
    high = (lanes * 103 >> 10) & 0x000F000F000F000Full; // each lane / 10
    return high | (lanes - high * 10) << 8;
}

// Writes the decimal digits of number, below 10^8, as 8 bytes at `at` of
// which the leading ones are the digits; returns the end of the digits.
inline char *PutDecimalBelow1e8(char *at, uint64_t number)
{
    uint64_t lanes = DecimalLanes(number);
    const int zeros = lanes == 0 ? 7 : __builtin_ctzll(lanes) / 8; // leading zero digits
    lanes = (lanes + 0x3030303030303030ull) >> (8 * zeros);
    std::memcpy(at, &lanes, 8);
    return at + 8 - zeros;
}

// PutDecimalBelow1e8 for the line numbers of a batch's reports, which
// mostly grow by less than 100 from one to the next: the last one's digits
// plus the difference's, a byte a digit with each byte biased so that a
// digit above 9 carries into the next.
inline char *PutLineNumber(ReportBatch &batch, char *at, uint64_t number)
{
    const uint64_t step = number - batch.lastLine;
    uint64_t digits = 0; // one a byte, the last one in the lowest byte
    if (step < 100) {
        const uint64_t tens = step * 205 >> 11; // step / 10
        digits = batch.lastDigits + (tens << 8 | (step - tens * 10)) + 0xF6F6F6F6F6F6F6F6ull;
        digits -= ((digits >> 7) & 0x0101010101010101ull) * 0xF6; // the bytes that did not carry
    } else {
        digits = __builtin_bswap64(DecimalLanes(number));
    }
    batch.lastLine = number;
    batch.lastDigits = digits;
    const int zeros = __builtin_clzll(digits | 1) & 56; // bits of the leading zero digits (0 shows as one digit)
    const uint64_t text = __builtin_bswap64(digits + 0x3030303030303030ull) >> zeros;
    std::memcpy(at, &text, 8);
    return at + 8 - zeros / 8;
}

// ReportLine for every line, its way out of line.
void ReportLineAnyway(ReportBatch &batch, int64_t lineNumber, const char *text, size_t len, size_t folded);

// "<name> (<line>): <text>\n": a matching line, line numbers from 1. The
// text is a line without its delimiter, so it holds no NUL byte. Its first
// `folded` bytes are shown with the capitals A to Z in lower case. A
// frequent pattern reports millions of lines: the usual one, which fits
// the batch and is not folded, is put together inline.
inline void ReportLine(ReportBatch &batch, int64_t lineNumber, const char *text, size_t len, size_t folded)
{
    // " (" number "): " "\n", the number's 8-byte store, and what a copy
    // writes past its end (all of a 64-byte copy of a shorter line)
    constexpr size_t kAround = 16 + 64;
    if (static_cast<uint64_t>(lineNumber) >= 100000000 ||
        batch.nameLen + len + kAround > kReportBatchSize - batch.used) {
        ReportLineAnyway(batch, lineNumber, text, len, folded);
        return;
    }
    char *at = batch.bytes + batch.used;
    if (batch.nameLen + 2 <= 64) {
        Copy64(at, batch.nameCopy);
    } else if (batch.nameLen + 2 + kCopyOver <= sizeof batch.nameCopy) {
        CopyInBlocks(at, batch.nameCopy, batch.nameLen + 2);
    } else {
        std::memcpy(at, batch.name, batch.nameLen);
        std::memcpy(at + batch.nameLen, " (", 2);
    }
    at = PutLineNumber(batch, at + batch.nameLen + 2, static_cast<uint64_t>(lineNumber));
    std::memcpy(at, "): ", 4); // its NUL is overwritten by the text or the line end
    // A long line goes faster through the C library's copy.
    const auto readable = static_cast<size_t>(batch.shownEnd - text);
    if (len <= 64 && 64 <= readable)
        Copy64(at + 3, text);
    else if (len <= kBlockCopyMost && len + kCopyOver <= readable)
        CopyInBlocks(at + 3, text, len);
    else
        std::memcpy(at + 3, text, len);
    if (folded != 0)
        FoldCapitalsInBlocks(reinterpret_cast<unsigned char *>(at + 3), folded < len ? folded : len);
    at += 3 + len;
    *at++ = '\n';
    batch.used = static_cast<size_t>(at - batch.bytes);
}

// "<name> (<offset>): <bytes>\n" with the offset in the alternate hex form
// ("0" for zero, else "0x1a"): one match in binary mode, its bytes shown up
// to the first NUL among them, the first `folded` in lower case.
void ReportMatch(ReportBatch &batch, int64_t offset, const char *bytes, size_t len, size_t folded);

// The banner line (after an empty line) with program name, version and
// notice; the usage text with the program name.
void ReportBanner(OutputSink &out, const char *program, const char *version, const char *notice);
void ReportUsage(OutputSink &out, const char *program);

// The run's errors, without a line end: no pattern, a pattern that does
// not compile.
void ReportNoPattern(OutputSink &out);
void ReportSyntaxError(OutputSink &out);

// "Searching for ..." with (verbose) or without folder and masks; a null
// folder or mask text shows as "(null)".
void ReportSearching(OutputSink &out, const char *pattern, const char *directory, const char *masks, bool verbose);

// The pattern's cut to its longest length, and -w turned off by it.
void ReportPatternCut(OutputSink &out, const char *pattern);
void ReportWordMatchOff(OutputSink &out);

// A folder argument that cannot be resolved (as given, null shown as
// "(null)"), and a resolved path that does not exist.
void ReportArgumentNotFound(OutputSink &out, const char *directory);
void ReportPathNotFound(OutputSink &out, const char *path);

// A file named as folder argument while masks were given too.
void ReportMaskInsteadOfFile(OutputSink &out);

// -v: a folder's count of files that fit a mask; a file about to be searched.
void ReportTrying(OutputSink &out, const char *folder, int count);
void ReportFileName(OutputSink &out, const char *path);

// A file that cannot be opened; -f: a file's occurrences (above 0).
void ReportUnopenable(OutputSink &out, const char *path);
void ReportFileCount(OutputSink &out, const char *path, int64_t total);

// The summary line: lines counted (-l), or occurrences found.
void ReportSummary(OutputSink &out, bool countLines, int64_t count, int64_t files, int64_t filesTried);
