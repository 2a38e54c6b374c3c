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

uint32_t g_aiPattern[256];
uint32_t g_aiPatCount[kMaxElements + 1];
thread_local int32_t g_aiMatchCount[kMaxElements + 1];
int g_cPattern;
unsigned char g_chFirst;
char *g_sPattern;
