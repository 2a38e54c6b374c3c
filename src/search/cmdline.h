// Command line and run driver.
#pragma once

// Runs fyndle with the given command line: prints the banner, reads the
// options and the plain arguments, compiles the pattern and runs the search.
// Returns 0; ends the process with exit(0) after the usage text and with
// exit(1) when there is no pattern or it does not compile. Any of these is 2
// instead, with one line on standard error, when standard output cannot be
// written; and so is a run that the open-file limit leaves too few
// descriptors to search the whole tree, which then prints nothing.
int RunFyndle(int argc, char **argv);
