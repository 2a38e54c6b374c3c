// fyndle end to end: the built binary over folder trees made by the test.
#include <gtest/gtest.h>

#include "e2e_support.h"

namespace {

TEST(CommandLine, NoArgumentPrintsBannerAndUsage)
{
    RunResult r = runFyndle({});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, std::string("\nfyndle version 1.20 Copyright (c) 2026 the fyndle developers\n") +
                         "Searches files for text patterns\n\nUsage:\tfyndle [-options] pattern directory filetypes\n\n"
                         "options:\n  -s  also search subdirectories\n  -f  list file names only\n"
                         "  -b  binary search (default is text line search)\n"
                         "  -c  case sensitive search (default is case insensitive)\n"
                         "  -l  just count number of lines in files (no pattern search)\n"
                         "  -r  regular expression search\n  -v  verbose\n  -w  match word\n\n");
}

} // namespace
