// Folder walk and file masks: resolves the folder argument, searches it
// with every mask (and, under -s, every subfolder, depth first) and prints
// the summary.
#pragma once

#include "run.h"

// Runs the search of one folder argument with one mask list (null or empty:
// every file), printing through run. directory is trimmed in place. Returns
// 1 after a run, 0 when the folder is not found (nothing searched, no
// summary). After a run, run.counters hold its counts; when standard output
// failed, the summary is not printed.
int FRunMask(SearchRun &run, char *directory, const char *maskList);
