// Command line and run driver.
//
// Arguments are options ("-" and one letter, anywhere on the line) or plain
// arguments, which take their roles by order: pattern, folder, file masks
// (each later mask argument replaces the one before). Under -l there is no
// pattern: the first plain argument is the folder, the second the masks.
#include "cmdline.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <unistd.h>

#include "fyndle.h"
#include "pattern.h"
#include "qvstring.h"
#include "report.h"
#include "walk.h"

namespace {

const char sProgram_[] = "fyndle";
const char sVersion[] = "version 1.20";
const char sNotice[] = "Copyright (c) 2026 the fyndle developers";
// The longest pattern kept; a longer one is cut to this many bytes.
constexpr size_t kPatternMax = 31;

// Copies of the folder and mask arguments. They live as long as the process,
// like the pattern, and are never freed.
char *s_sDirectory;
char *s_sMasks;

bool setOption(char letter)
{
    switch (letter) {
    case 'b':
        g_fBinary = 1;
        return true;
    case 'c':
        g_fMatchCase = 1;
        return true;
    case 'f':
        g_fFileNamesOnly = 1;
        return true;
    case 'l':
        g_fCountLines = 1;
        return true;
    case 'r':
        g_fRegExp = 1;
        return true;
    case 's':
        g_fDoSubdirectories = 1;
        return true;
    case 'v':
        g_fVerbose = 1;
        return true;
    case 'w':
        g_fMatchWord = 1;
        return true;
    default:
        return false; // unknown letters are ignored
    }
}

char *maskCopy(const char *text)
{
    char *copy = StrDup(text);
    for (char *at = copy; at != nullptr && *at != 0; ++at)
        if (*at == ',' || *at == ' ')
            *at = ';';
    return copy;
}

} // namespace

int PopErrorMessage(const char *text)
{
    return wprintf(L"%s", text);
}

int RunFyndle(int argc, char **argv)
{
    // Reports can be many: write them in large blocks unless a person watches.
    static char outputBuffer[1 << 16];
    if (!isatty(STDOUT_FILENO))
        setvbuf(stdout, outputBuffer, _IOFBF, sizeof outputBuffer);

    ReportBanner(sProgram_, sVersion, sNotice);
    if (argc < 2) {
        ReportUsage(sProgram_);
        exit(0);
    }

    char *&directory = s_sDirectory;
    char *&masks = s_sMasks;
    int plainCount = 0;
    for (int i = 1; i < argc; ++i) {
        const char *argument = argv[i];
        if (argument == nullptr || argument[0] == 0)
            continue;
        if (argument[0] == '-' && argument[1] != 0 && argument[2] == 0) {
            setOption(argument[1]);
            continue;
        }
        if (plainCount == 0) {
            g_sPattern = StrDup(argument);
        } else if (plainCount == 1) {
            directory = StrDup(argument);
        } else {
            free(masks);
            masks = maskCopy(argument);
        }
        ++plainCount;
    }

    if (g_fCountLines) {
        // No pattern: the plain arguments shift down one role, and a third
        // one is ignored.
        free(masks);
        masks = directory;
        directory = g_sPattern;
        g_sPattern = nullptr;
        FRunMask(directory, masks);
        return 0;
    }
    if (g_sPattern == nullptr) {
        ReportNoPattern();
        exit(1);
    }
    ReportSearching(g_sPattern, directory, masks, g_fVerbose != 0);

    if (strlen(g_sPattern) > kPatternMax) {
        g_sPattern[kPatternMax] = 0;
        ReportPatternCut(g_sPattern);
        if (g_fMatchWord) {
            g_fMatchWord = 0;
            ReportWordMatchOff();
        }
    }
    static CompiledPattern pattern;
    if (!PreparePattern(g_sPattern, g_fRegExp, g_fMatchCase, &pattern)) {
        ReportSyntaxError();
        exit(1);
    }
    g_pattern = &pattern;
    fflush(stdout);
    FRunMask(directory, masks);
    return 0;
}
