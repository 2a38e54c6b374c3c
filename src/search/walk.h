// Folder walk and file masks: resolves the folder argument, searches it
// with every mask (and, under -s, every subfolder, depth first) and prints
// the summary.
#pragma once

// Runs the search of one folder argument with one mask list (null or empty:
// every file). directory is trimmed in place. Returns 1 after a run, 0 when
// the folder is not found (nothing searched, no summary).
int FRunMask(char *directory, const char *maskList);
