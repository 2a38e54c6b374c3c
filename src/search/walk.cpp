// Folder walk.
//
// The walk keeps its place in an explicit stack of folders, one entry per
// level, so that no depth the file system holds can overflow the call
// stack. Subfolders are opened relative to their parent's descriptor and
// the full path is kept only for printing (one growing string that every
// level extends and cuts back), so paths of any length work.
//
// Only the deepest kKeptFolders levels (and the starting folder) keep their
// descriptor open, so that any open-file limit is enough. When the walk
// climbs back to a level whose descriptor was closed, it reopens it as ".."
// of the level below and checks that the folder is the same one (device and
// inode); failing that, it reopens it by name from the starting folder.
//
// Files are listed through the library's listing, by descriptor, and the
// same reading of the folder gives the folders to walk into, by their raw
// names, so that a folder whose name is not valid UTF-8 is still entered.
// Names go through wide text on their way from the folder to the mask test
// and back, so a file name that is not valid UTF-8 comes back changed and
// is reported as a file that cannot be opened, and a folder whose path does
// not survive that trip lists the files of the folder its changed path
// names, if any.
#include "walk.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "fyndle.h"
#include "qvstdlib.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "parallel.h"
#include "report.h"

namespace {

// Folder descriptors the walk keeps open below the starting folder.
constexpr size_t kKeptFolders = 16;
// Longest piece of a path handed to one open call.
constexpr size_t kPathPiece = PATH_MAX - 1;

struct FreeDeleter {
    void operator()(void *block) const { std::free(block); }
};

// One level of the walk.
struct Level {
    std::vector<std::string> subfolders; // folders to walk into, in listing order
    size_t next;                         // index of the next subfolder to enter
    size_t pathLength;                   // length of the printed path of this folder
    int fd;                              // the folder's descriptor, -1 while closed
    dev_t device;                        // identity, to check a reopened descriptor
    ino_t inode;
    bool pathRoundTrips; // the path survives the trip through wide text
};

// Opens path (relative to dirFd, or absolute) of any length by opening it
// a piece at a time, each piece ending at a '/'. -1 on failure.
int openLong(int dirFd, const std::string &path, int flags)
{
    if (path.size() <= kPathPiece)
        return openat(dirFd, path.c_str(), flags);
    size_t begin = 0;
    int fd = dirFd;
    while (begin < path.size()) {
        size_t end = path.size();
        if (end - begin > kPathPiece) {
            end = path.rfind('/', begin + kPathPiece);
            if (end == std::string::npos || end < begin)
                end = begin; // one name longer than a whole piece
            if (end == begin)
                end = begin + 1; // a leading '/' is a piece of its own
        }
        const bool last = end >= path.size();
        int opened =
            openat(fd, path.substr(begin, end - begin).c_str(), last ? flags : O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (fd != dirFd)
            close(fd);
        if (opened < 0)
            return -1;
        fd = opened;
        begin = end;
        while (begin < path.size() && path[begin] == '/' && !last)
            ++begin;
    }
    return fd;
}

bool roundTrips(const char *text, std::string *changed)
{
    std::unique_ptr<wchar_t, FreeDeleter> wide(A2T_dup(text));
    std::unique_ptr<char, FreeDeleter> narrow(wide ? T2A_dup(wide.get()) : nullptr);
    if (narrow && std::strcmp(narrow.get(), text) == 0)
        return true;
    if (changed != nullptr)
        *changed = narrow ? narrow.get() : "";
    return false;
}

// Takes a plain table of narrow names, as the listing returns it.
std::vector<std::string> takeNames(char **table, int count)
{
    std::vector<std::string> names(table, table + count);
    TabFreePlain(table, static_cast<uint64_t>(count), 1);
    return names;
}

// Searches the files of the folder open as fd that fit one mask, listed
// from listFd, and adds them to the run's counters. With subfolders
// non-null the same listing gives the folder's subfolders (listFd must then
// be fd).
void doFiles(std::string &path, int fd, int listFd, const char *mask, std::vector<std::string> *subfolders)
{
    int count = 0;
    wchar_t **list = nullptr;
    if (listFd >= 0) {
        std::unique_ptr<wchar_t, FreeDeleter> wideMask(A2T_dup(mask));
        if (subfolders != nullptr) {
            char **folders = nullptr;
            int folderCount = 0;
            list = FileListWithFoldersAt(listFd, wideMask.get(), &count, &folders, &folderCount);
            *subfolders = takeNames(folders, folderCount);
        } else {
            list = FileListByMaskAt(listFd, wideMask.get(), &count, 1);
        }
    }
    if (g_fVerbose)
        ReportTrying(path.c_str(), count);
    if (list == nullptr)
        return;
    const size_t folderLength = path.size();
    for (int index = 0; index < count; ++index) {
        char name[512];
        T2A_cpy(name, sizeof name, list[index]);
        path.resize(folderLength);
        path += '/';
        path += name;
        SearchFile(fd, name, path.c_str());
    }
    path.resize(folderLength);
    TabFreePlain(list, static_cast<uint64_t>(count), 1);
}

// Every mask over the folder open as fd (-1: a folder that could not be
// opened, which lists nothing). With subfolders non-null, also the
// folder's subfolders, from the first mask's reading of the folder where
// that one lists fd itself.
void doAllFiles(std::string &path, int fd, bool pathRoundTrips, const std::vector<std::string> &masks,
                std::vector<std::string> *subfolders)
{
    int listFd = fd;
    std::string changed;
    if (fd >= 0 && !pathRoundTrips && !roundTrips(path.c_str(), &changed))
        listFd = changed.empty() ? -1 : openLong(AT_FDCWD, changed, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::vector<std::string> *foldersPending = fd >= 0 ? subfolders : nullptr;
    for (const std::string &mask : masks) {
        doFiles(path, fd, listFd, mask.c_str(), listFd == fd ? foldersPending : nullptr);
        if (listFd == fd)
            foldersPending = nullptr;
    }
    if (listFd >= 0 && listFd != fd)
        close(listFd);
    if (foldersPending != nullptr) {
        char **folders = nullptr;
        int folderCount = 0;
        FileListWithFoldersAt(fd, nullptr, nullptr, &folders, &folderCount);
        *foldersPending = takeNames(folders, folderCount);
    }
}

bool sameFolder(int fd, const Level &level)
{
    struct stat status;
    return fstat(fd, &status) == 0 && status.st_dev == level.device && status.st_ino == level.inode;
}

// Reopens the closed level at index `at`: as ".." of belowFd (the level
// under it, or -1), else by names from the starting folder.
void reopen(std::vector<Level> &stack, size_t at, int belowFd)
{
    Level &level = stack[at];
    int fd = belowFd < 0 ? -1 : openat(belowFd, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0 && !sameFolder(fd, level)) {
        close(fd);
        fd = -1;
    }
    if (fd < 0) {
        std::string names;
        for (size_t index = 1; index <= at; ++index) {
            const Level &parent = stack[index - 1];
            if (index > 1)
                names += '/';
            names += parent.subfolders[parent.next - 1];
        }
        fd = openLong(stack[0].fd, names, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd >= 0 && !sameFolder(fd, level)) {
            close(fd);
            fd = -1;
        }
    }
    level.fd = fd;
    if (fd < 0) // the folder moved away: what is left of it is skipped
        level.next = level.subfolders.size();
}

// Depth first, pre-order: each folder's own files, then its subfolders in
// listing order.
void doFolders(std::string &path, int fd, bool pathRoundTrips, const std::vector<std::string> &masks,
               std::vector<std::string> subfolders)
{
    std::vector<Level> stack;
    stack.push_back(Level{std::move(subfolders), 0, path.size(), fd, 0, 0, pathRoundTrips});
    size_t firstOpen = 1; // levels [1, firstOpen) have their descriptor closed
    while (!stack.empty()) {
        Level &top = stack.back();
        if (top.next == top.subfolders.size()) {
            const size_t at = stack.size() - 1;
            if (at == 0)
                break;
            if (at - 1 >= 1 && at - 1 < firstOpen) {
                reopen(stack, at - 1, top.fd);
                firstOpen = at - 1;
            }
            if (top.fd >= 0)
                close(top.fd);
            stack.pop_back();
            continue;
        }
        const std::string &name = top.subfolders[top.next++];
        path.resize(top.pathLength);
        path += '/';
        path += name;
        const bool subRoundTrips = top.pathRoundTrips && roundTrips(name.c_str(), nullptr);
        int sub = top.fd < 0 ? -1 : openat(top.fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        std::vector<std::string> subfolders;
        doAllFiles(path, sub, subRoundTrips, masks, &subfolders);
        struct stat status;
        if (subfolders.empty() || fstat(sub, &status) != 0) {
            if (sub >= 0)
                close(sub);
            continue;
        }
        stack.push_back(Level{std::move(subfolders), 0, path.size(), sub, status.st_dev, status.st_ino, subRoundTrips});
        if (stack.size() - firstOpen > kKeptFolders) {
            close(stack[firstOpen].fd);
            stack[firstOpen].fd = -1;
            ++firstOpen;
        }
    }
    path.resize(stack.front().pathLength);
}

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

int FRunMask(char *directory, const char *maskList)
{
    if (directory == nullptr) {
        ReportArgumentNotFound(nullptr);
        return 0;
    }
    StrTrim(directory);
    std::unique_ptr<char, FreeDeleter> resolved(realpath(directory, nullptr));
    if (!resolved && errno == ENAMETOOLONG)
        resolved.reset(resolveLong(directory));
    if (!resolved) {
        ReportArgumentNotFound(directory);
        return 0;
    }
    std::string path = resolved.get();
    // The resolved path may be longer than one system call takes.
    struct stat status;
    int probe = openLong(AT_FDCWD, path, O_PATH | O_CLOEXEC);
    const bool exists = probe >= 0 && fstat(probe, &status) == 0;
    if (probe >= 0)
        close(probe);
    const bool isFolder = exists && S_ISDIR(status.st_mode);
    if (!exists || (!isFolder && path.back() == '/')) {
        ReportPathNotFound(path.c_str());
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
            ReportMaskInsteadOfFile();
        } else {
            maskText = base;
        }
        path.resize(static_cast<size_t>(base - path.c_str()));
    }
    if (!path.empty() && (path.back() == '/' || path.back() == '\\'))
        path.pop_back();
    const std::vector<std::string> masks = splitMasks(maskText);

    g_cFilesTried = g_cFiles = g_cCount = 0;
    int fd = path.empty() ? -1 : openLong(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool pathRoundTrips = roundTrips(path.c_str(), nullptr);
    BeginSearch();
    std::vector<std::string> subfolders;
    doAllFiles(path, fd, pathRoundTrips, masks, g_fDoSubdirectories ? &subfolders : nullptr);
    if (g_fDoSubdirectories && fd >= 0)
        doFolders(path, fd, pathRoundTrips, masks, std::move(subfolders));
    EndSearch();
    if (fd >= 0)
        close(fd);

    ReportSummary(g_fCountLines != 0, g_cCount, g_cFiles, g_cFilesTried);
    return 1;
}
