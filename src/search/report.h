// Match reports: the lines that the matcher prints on standard output.
#pragma once

#include <cstddef>
#include <cstdint>

// "<name> (<line>): <text>\n": a matching line, line numbers from 1.
void ReportLine(const char *name, int64_t lineNumber, const char *text, size_t len);

// "<name> (<offset>): <bytes>\n" with the offset in the alternate hex form
// ("0" for zero, else "0x1a"): one match in binary mode.
void ReportMatch(const char *name, int64_t offset, const char *bytes, size_t len);
