// Folder walk.
//
// Each folder is listed once and opened once: the listing serves the file
// masks and the walk into subfolders alike, and files and subfolders are
// opened relative to the folder's descriptor, so that paths of any length
// work. The full path is kept only for printing, in one growing string that
// every level extends and cuts back.
//
// Names go through wide text on their way from the folder to the mask test
// and back (as the library's listing does), so a name that is not valid
// UTF-8 comes back changed and is reported as a file that cannot be opened;
// a folder whose path does not survive that trip lists no files.
#include "walk.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "fyndle.h"
#include "qvstring.h"
#include "qvsystem.h"
#include "parallel.h"
#include "report.h"

namespace {

// What a folder holds that the search looks at.
struct Listing {
    std::vector<std::string> files;    // regular files, in the folder's order
    std::vector<std::string> folders;  // subfolders, in the folder's order
};

struct FreeDeleter {
    void operator()(void *block) const { std::free(block); }
};

bool isHidden(const char *name)
{
    return name[0] == '.';
}

// Reads the visible regular files and folders of the folder open as fd.
void readEntries(int fd, std::vector<std::string> *files, std::vector<std::string> *folders)
{
    int own = dup(fd);
    if (own < 0)
        return;
    DIR *dir = fdopendir(own);
    if (dir == nullptr) {
        close(own);
        return;
    }
    while (const dirent *entry = readdir(dir)) {
        if (entry->d_ino == 0 || isHidden(entry->d_name))
            continue;
        if (entry->d_type == DT_REG && files != nullptr)
            files->emplace_back(entry->d_name);
        else if (entry->d_type == DT_DIR && folders != nullptr)
            folders->emplace_back(entry->d_name);
    }
    closedir(dir);
}

// The folder's path as it comes back from wide text.
std::string wideRoundTrip(const std::string &path)
{
    std::unique_ptr<wchar_t, FreeDeleter> wide(A2T_dup(path.c_str()));
    if (!wide)
        return std::string();
    std::unique_ptr<char, FreeDeleter> narrow(T2A_dup(wide.get()));
    return narrow ? std::string(narrow.get()) : std::string();
}

Listing listFolder(const std::string &path, int fd)
{
    Listing listing;
    if (fd < 0)
        return listing;
    std::string listed = wideRoundTrip(path);
    if (listed == path) {
        readEntries(fd, &listing.files, &listing.folders);
        return listing;
    }
    readEntries(fd, nullptr, &listing.folders);
    int other = listed.empty() ? -1 : open(listed.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (other >= 0) {
        readEntries(other, &listing.files, nullptr);
        close(other);
    }
    return listing;
}

// Searches the files of one folder that fit one mask and adds them to the
// run's counters.
void doFiles(std::string &path, int fd, const char *mask, const std::vector<std::string> &files)
{
    std::vector<std::string> chosen;
    std::unique_ptr<wchar_t, FreeDeleter> wideMask(A2T_dup(mask));
    for (const std::string &file : files) {
        wchar_t wideName[512];
        A2T_cpy(wideName, 512, file.c_str());
        if (FFileMaskMatch(wideName, wideMask.get())) {
            char name[512];
            T2A_cpy(name, 512, wideName);
            chosen.emplace_back(name);
        }
    }
    if (g_fVerbose)
        ReportTrying(path.c_str(), static_cast<int>(chosen.size()));
    if (chosen.empty())
        return;
    const size_t folderLength = path.size();
    for (const std::string &name : chosen) {
        path.resize(folderLength);
        path += '/';
        path += name;
        SearchFile(fd, name.c_str(), path.c_str());
    }
    path.resize(folderLength);
}

void doAllFiles(std::string &path, int fd, const std::vector<std::string> &masks, const Listing &listing)
{
    for (const std::string &mask : masks)
        doFiles(path, fd, mask.c_str(), listing.files);
}

// Depth first, each folder's own files before its subfolders.
int doFolders(std::string &path, int fd, const std::vector<std::string> &masks, const std::vector<std::string> &folders)
{
    if (fd < 0)
        return 0;
    const size_t folderLength = path.size();
    for (const std::string &name : folders) {
        path.resize(folderLength);
        path += '/';
        path += name;
        int sub = openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        Listing listing = listFolder(path, sub);
        doAllFiles(path, sub, masks, listing);
        std::vector<std::string>().swap(listing.files);
        doFolders(path, sub, masks, listing.folders);
        if (sub >= 0)
            close(sub);
    }
    path.resize(folderLength);
    return 1;
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
    if (!resolved) {
        ReportArgumentNotFound(directory);
        return 0;
    }
    std::string path = resolved.get();
    struct stat status;
    const bool exists = stat(path.c_str(), &status) == 0;
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
    int fd = path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Listing listing = listFolder(path, fd);
    BeginSearch();
    doAllFiles(path, fd, masks, listing);
    if (g_fDoSubdirectories)
        doFolders(path, fd, masks, listing.folders);
    EndSearch();
    if (fd >= 0)
        close(fd);

    ReportSummary(g_fCountLines != 0, g_cCount, g_cFiles, g_cFilesTried);
    return 1;
}
