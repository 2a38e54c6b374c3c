// fyndle: the state that the pieces of the tool share.
//
// Options are one-byte flags and the compiled pattern is one object: both
// are written once before any search and only read after, so the searching
// threads share them without locks. Window buffers are per thread. The run counters are summed file by file in the
// walk's order (output.h) and printed by the folder walk. Counters, offsets
// and line numbers are 64-bit so that files and runs above 2 GiB count
// right; below that they print exactly as 32-bit ints would.
#pragma once

#include <cstddef>
#include <cstdint>

// The file scanner searches a file in windows of this many bytes...
inline constexpr int kWindowSize = 5120;
// ...cut after the last newline found at or after this position (when the
// window holds more bytes than that), so that lines are rarely split.
inline constexpr int kCutFrom = 4801;
// The file scanner reads files in chunks of this many bytes.
inline constexpr size_t kChunkSize = 256 * 1024;
// The compiled pattern has at most this many elements.
inline constexpr int kMaxElements = 32;

// Element flags of a compiled pattern.
inline constexpr uint32_t kFlagSingle = 0x00000001;   // exactly one byte
inline constexpr uint32_t kFlagEnd = 0x04000000;      // after the last element
inline constexpr uint32_t kFlagNegated = 0x08000000;  // accepts the bytes NOT in its set
inline constexpr uint32_t kFlagOptional = 0x10000000; // one byte if it can, else passed over
inline constexpr uint32_t kFlagStar = 0x20000000;     // zero or more bytes
inline constexpr uint32_t kFlagPlus = 0x40000000;     // one or more bytes
// The elements that take runs of bytes (and whose states the matcher's
// attempt engine remembers).
inline constexpr uint32_t kRunFlags = kFlagStar | kFlagPlus;

// Option flags: 0 at start, 1 once their option is seen.
extern unsigned char g_fBinary;           // -b: report every match with its byte offset
extern unsigned char g_fMatchCase;        // -c: case-sensitive search
extern unsigned char g_fFileNamesOnly;    // -f: one line per file with its count
extern unsigned char g_fCountLines;       // -l: count lines, no pattern
extern unsigned char g_fRegExp;           // -r: the pattern is a regular expression
extern unsigned char g_fDoSubdirectories; // -s: walk the subfolders too
extern unsigned char g_fVerbose;          // -v: verbose lines
extern unsigned char g_fMatchWord;        // -w: whole words only

// The compiled pattern (pattern.h), prepared once before the search and
// only read after; the pattern text it was compiled from.
struct CompiledPattern;
extern const CompiledPattern *g_pattern;
extern char *g_sPattern; // the pattern text (heap copy)

// Window buffers of the file scanner, one pair per searching thread: the
// file's bytes, read in chunks, in which every window lies; and a window's
// bytes as printed when they differ from the searched ones.
extern thread_local char g_sBuffer[kChunkSize];
extern thread_local char g_sCopyBuffer[kWindowSize];

// Run counters, zeroed by FRunMask and summed in the order of the files.
extern int64_t g_cFilesTried; // files looked at
extern int64_t g_cFiles;      // files with an occurrence (or a line, under -l)
extern int64_t g_cCount;      // occurrences (or lines, under -l)
