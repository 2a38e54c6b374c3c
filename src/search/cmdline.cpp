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
#include "run.h"
#include "walk.h"
#include "walk_queue.h"

namespace {

const char sProgram_[] = "fyndle";
const char sVersion[] = "version 1.20";
const char sNotice[] = "Copyright (c) 2026 the fyndle developers";
// The longest pattern kept; a longer one is cut to this many bytes.
constexpr size_t kPatternMax = 31;
// Descriptors a run needs free: the starting folder's and one claim's.
constexpr int kRunDescriptors = 1 + kWalkDescriptors + 1;

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

// The exit code of a run that would end with code: 2 instead, said on
// standard error, when standard output could not take what was printed.
// The one message that goes to standard error: standard output is gone.
int finish(SearchRun &run, int code)
{
    run.output.FlushOut();
    if (!run.output.Failed())
        return code;
    fprintf(stderr, "%s: cannot write to standard output: %s\n", sProgram_, strerror(run.output.Error()));
    return 2;
}

} // namespace

int RunFyndle(int argc, char **argv)
{
    // Reports can be many: write them in large blocks unless a person watches.
    static char outputBuffer[1 << 16];
    if (!isatty(STDOUT_FILENO))
        setvbuf(stdout, outputBuffer, _IOFBF, sizeof outputBuffer);

    // Below this, part of the tree would go unsearched: say so instead.
    const int descriptors = FreeDescriptors();
    if (descriptors < kRunDescriptors) {
        fprintf(stderr, "%s: the open-file limit leaves %d descriptors free, and a search needs %d\n", sProgram_,
                descriptors, kRunDescriptors);
        return 2;
    }

    SearchRun run;
    run.threads = SearchThreadCount();
    OutputSink &out = run.out;
    ReportBanner(out, sProgram_, sVersion, sNotice);
    if (argc < 2) {
        ReportUsage(out, sProgram_);
        exit(finish(run, 0));
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
        FRunMask(run, directory, masks);
        return finish(run, 0);
    }
    if (g_sPattern == nullptr) {
        ReportNoPattern(out);
        exit(finish(run, 1));
    }
    ReportSearching(out, g_sPattern, directory, masks, g_fVerbose != 0);

    if (strlen(g_sPattern) > kPatternMax) {
        g_sPattern[kPatternMax] = 0;
        ReportPatternCut(out, g_sPattern);
        if (g_fMatchWord) {
            g_fMatchWord = 0;
            ReportWordMatchOff(out);
        }
    }
    if (!PreparePattern(g_sPattern, g_fRegExp, g_fMatchCase, &run.pattern)) {
        ReportSyntaxError(out);
        exit(finish(run, 1));
    }
    run.output.FlushOut();
    if (!run.output.Failed())
        FRunMask(run, directory, masks);
    return finish(run, 0);
}
