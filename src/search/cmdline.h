// Command line and run driver.
#pragma once

// Runs fyndle with the given command line: prints the banner, reads the
// options and the plain arguments, compiles the pattern and runs the search.
// Returns 0; ends the process with exit(0) after the usage text and with
// exit(1) when there is no pattern or it does not compile.
int RunFyndle(int argc, char **argv);

// Prints text through the wide formatted output; returns what that returns.
// Not used by the tool itself: once standard output has been used narrow,
// wide output to it is refused.
int PopErrorMessage(const char *text);
