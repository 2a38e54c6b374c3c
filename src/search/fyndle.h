// fyndle: the state that the pieces of the tool share.
//
// Options are one-byte flags: written once before any search and only read
// after, so the searching threads share them without locks. What changes
// during a search belongs to the object that changes it: the run (run.h)
// holds the compiled pattern, the counters and the output, each searching
// thread its buffers. Counters, offsets and line numbers are 64-bit so that
// files and runs above 2 GiB count right; below that they print exactly as
// 32-bit ints would.
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

extern char *g_sPattern; // the pattern text (heap copy)
