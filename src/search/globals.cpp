// The definitions of the tool's process-wide state (see fyndle.h).
#include "fyndle.h"

unsigned char g_fBinary;
unsigned char g_fMatchCase;
unsigned char g_fFileNamesOnly;
unsigned char g_fCountLines;
unsigned char g_fRegExp;
unsigned char g_fDoSubdirectories;
unsigned char g_fVerbose;
unsigned char g_fMatchWord;

char *g_sPattern;
