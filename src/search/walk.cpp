// Folder walk: the folder argument resolved (a file named instead of a
// folder becomes its folder with its name as the mask), the mask list cut
// into masks, the ordered walk run over it, and the summary.
//
// Paths of any length work: the argument may resolve beyond what one
// system call takes, and it is then opened a piece at a time.
#include "walk.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "folder.h"
#include "fyndle.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "report.h"
#include "walk_queue.h"

namespace {

struct FreeDeleter {
    void operator()(void *block) const { std::free(block); }
};

// The absolute form of a path whose resolved form is longer than some
// realpath implementations take (instrumented builds among them): the
// working folder, which the kernel keeps free of links, joined with the
// path, its "." and ".." parts folded. Links inside the path itself stay as
// they are. Null when the working folder cannot be read.
char *resolveLong(const char *directory)
{
    std::string joined;
    if (directory[0] != '/') {
        std::unique_ptr<char, FreeDeleter> cwd(getcwd(nullptr, 0));
        if (!cwd)
            return nullptr;
        joined = cwd.get();
    }
    joined += '/';
    joined += directory;
    std::string result;
    size_t begin = 0;
    while (begin < joined.size()) {
        size_t end = joined.find('/', begin);
        if (end == std::string::npos)
            end = joined.size();
        const std::string part = joined.substr(begin, end - begin);
        if (part == "..")
            result.resize(result.rfind('/') == std::string::npos ? 0 : result.rfind('/'));
        else if (!part.empty() && part != ".")
            result += '/' + part;
        begin = end + 1;
    }
    return strdup(result.empty() ? "/" : result.c_str());
}

// Cuts the mask text into masks: at ';' only when it holds a wildcard, and
// only up to the first empty mask.
std::vector<std::string> splitMasks(const std::string &text)
{
    std::vector<std::string> masks;
    if (text.find_first_of("*?") == std::string::npos) {
        masks.push_back(text);
        return masks;
    }
    size_t begin = 0;
    for (;;) {
        size_t end = text.find(';', begin);
        std::string mask = text.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
        if (mask.empty())
            break;
        masks.push_back(std::move(mask));
        if (end == std::string::npos)
            break;
        begin = end + 1;
    }
    return masks;
}

} // namespace

int FRunMask(SearchRun &run, char *directory, const char *maskList)
{
    OutputSink &out = run.out;
    if (directory == nullptr) {
        ReportArgumentNotFound(out, nullptr);
        return 0;
    }
    StrTrim(directory);
    std::unique_ptr<char, FreeDeleter> resolved(realpath(directory, nullptr));
    if (!resolved && errno == ENAMETOOLONG)
        resolved.reset(resolveLong(directory));
    if (!resolved) {
        ReportArgumentNotFound(out, directory);
        return 0;
    }
    std::string path = resolved.get();
    // The resolved path may be longer than one system call takes.
    struct stat status;
    int probe = OpenLongPath(AT_FDCWD, path, O_PATH | O_CLOEXEC);
    const bool exists = probe >= 0 && fstat(probe, &status) == 0;
    if (probe >= 0)
        close(probe);
    const bool isFolder = exists && S_ISDIR(status.st_mode);
    if (!exists || (!isFolder && path.back() == '/')) {
        ReportPathNotFound(out, path.c_str());
        return 0;
    }
    const bool haveMasks = maskList != nullptr && maskList[0] != 0;
    std::string maskText;
    if (isFolder) {
        maskText = haveMasks ? maskList : "*";
    } else {
        const char *base = SFileBaseA(path.c_str());
        if (haveMasks) {
            maskText = maskList;
            ReportMaskInsteadOfFile(out);
        } else {
            maskText = base;
        }
        path.resize(static_cast<size_t>(base - path.c_str()));
    }
    if (!path.empty() && (path.back() == '/' || path.back() == '\\'))
        path.pop_back();

    run.counters = RunCounters{};
    WalkStart start{path, -1, RoundTrips(path.c_str(), nullptr), g_fDoSubdirectories != 0, splitMasks(maskText)};
    if (!path.empty())
        start.fd = OpenLongPath(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    RunWalk(run, start);
    if (start.fd >= 0)
        close(start.fd);
    if (run.output.Failed())
        return 1; // nothing more can be printed
    ReportSummary(out, g_fCountLines != 0, run.counters.count, run.counters.files, run.counters.filesTried);
    return 1;
}
