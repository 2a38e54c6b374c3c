// Folders for the walk.
//
// A folder is read with getdents64 straight from the descriptor the walk
// opened for it: four system calls a folder (open, two reads, close), where
// a directory stream costs ten. Entries are judged as the library's listing
// judges them: an entry of unknown type is neither file nor folder, names
// starting with '.' are hidden, and file names are matched as wide text
// through a buffer of the same size, so that the walk lists exactly what
// the library would.
#include "folder.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include "qvstring.h"
#include "qvsystem.h"

namespace {

// Longest piece of a path handed to one open call.
constexpr size_t kPathPiece = PATH_MAX - 1;
// Wide characters a name is converted through, as in the library's listing.
constexpr size_t kNameBuffer = 512;

struct FreeDeleter {
    void operator()(void *block) const { std::free(block); }
};

} // namespace

int OpenLongPath(int dirFd, const std::string &path, int flags)
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

bool RoundTrips(const char *text, std::string *changed)
{
    std::unique_ptr<wchar_t, FreeDeleter> wide(A2T_dup(text));
    std::unique_ptr<char, FreeDeleter> narrow(wide ? T2A_dup(wide.get()) : nullptr);
    if (narrow && std::strcmp(narrow.get(), text) == 0)
        return true;
    if (changed != nullptr)
        *changed = narrow ? narrow.get() : "";
    return false;
}

void ReadFolder(int fd, const std::vector<std::wstring> &masks, bool listFiles, bool listFolders, char *buffer,
                size_t size, FolderListing *listing)
{
    listing->files.assign(masks.size(), {});
    listing->folders.clear();
    listing->foldersRoundTrip.clear();
    if (fd < 0 || (!listFiles && !listFolders))
        return;
    wchar_t wide[kNameBuffer];
    char narrow[kNameBuffer];
    for (;;) {
        const ssize_t got = getdents64(fd, buffer, size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return;
        for (ssize_t at = 0; at < got;) {
            const auto *entry = reinterpret_cast<const dirent64 *>(buffer + at);
            at += entry->d_reclen;
            if (entry->d_ino == 0 || entry->d_name[0] == '.')
                continue;
            if (listFolders && entry->d_type == DT_DIR) {
                listing->folders.emplace_back(entry->d_name);
                listing->foldersRoundTrip.push_back(RoundTrips(entry->d_name, nullptr));
            }
            if (!listFiles || entry->d_type != DT_REG)
                continue;
            A2T_cpy(wide, kNameBuffer, entry->d_name);
            bool converted = false;
            for (size_t mask = 0; mask < masks.size(); ++mask) {
                if (!FFileMaskMatch(wide, masks[mask].c_str()))
                    continue;
                if (!converted)
                    T2A_cpy(narrow, sizeof narrow, wide);
                converted = true;
                listing->files[mask].emplace_back(narrow);
            }
        }
    }
}
