// Reports: every message of the tool, in its exact words and format. They
// all go through an output sink (output.h), so they appear in the order of
// a one-thread run whichever thread prints them.
#pragma once

#include <cstddef>
#include <cstdint>

class OutputSink;

// One searching thread's gathered match reports: handing each line to the
// output on its own costs about as much as finding its match. A full batch
// is large enough to be written out without a copy on the way.
inline constexpr size_t kReportBatchSize = 64 << 10;
struct ReportBatch {
    OutputSink *out;              // where the reports go; null: straight to standard output
    size_t used;                  // bytes gathered; 0 to start
    char bytes[kReportBatchSize]; // the reports, one after the other
};

// The match reports (the two below) are gathered in a batch and reach the
// output at ReportFlush, which the matcher calls before it returns; it
// hands what batch holds to the output and empties it.
void ReportFlush(ReportBatch &batch);

// "<name> (<line>): <text>\n": a matching line, line numbers from 1. The
// name is nameLen bytes long; the text is a line without its delimiter, so
// it holds no NUL byte.
void ReportLine(ReportBatch &batch, const char *name, size_t nameLen, int64_t lineNumber, const char *text, size_t len);

// "<name> (<offset>): <bytes>\n" with the offset in the alternate hex form
// ("0" for zero, else "0x1a"): one match in binary mode, its bytes shown up
// to the first NUL among them.
void ReportMatch(ReportBatch &batch, const char *name, size_t nameLen, int64_t offset, const char *bytes, size_t len);

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
