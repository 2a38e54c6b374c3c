// qvsystem_list: the files (or subfolders) of one folder whose names fit a
// wildcard mask, as a plain table of new wide strings.
//
// The listing works on an open folder descriptor, so that a folder whose
// path is too long to name in one call can still be listed; the path form
// opens the folder and lists it the same way. A folder walk can take the
// subfolders from the same reading of the folder, as their stored narrow
// names (not passed through wide text, so that any name can be opened).
// The descriptor is read through a fresh open of "." relative to it, which
// has its own read position: the caller's descriptor is neither moved nor
// closed.
//
// Names are tested as wide text, case-sensitively, one code point against
// one mask character. Tables grow kGrowBy entries at a time; an empty
// result is a null table with a count of 0, so callers never see an empty
// table. Each name passes through a fixed conversion buffer of kNameBuffer
// wide characters: a longer name is cut there (whole characters only)
// rather than overflowing it.

#include "qvsystem.h"

#include "qvstring.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

constexpr int kGrowBy = 50;
constexpr size_t kNameBuffer = 512;
// Room for "*." + extension + terminator in FileListByExt.
constexpr size_t kExtMaskBuffer = 260;

bool isFolderSeparator(wchar_t ch)
{
    return ch == L'/' || ch == L'\\';
}

bool entryHasWantedType(const dirent *entry, int files)
{
    return files ? entry->d_type == DT_REG : entry->d_type == DT_DIR;
}

// Appends copy, a new string (null when the copy could not be made), to the
// table, growing it (it may start null with a capacity of 0) when it is
// full. false when memory runs out: the table then holds what it held
// before and copy is freed.
template <typename Char> bool append(Char ***table, int *capacity, int *count, Char *copy)
{
    if (!copy)
        return false;
    if (*count == *capacity) {
        auto grown = static_cast<Char **>(realloc(*table, sizeof(Char *) * static_cast<size_t>(*capacity + kGrowBy)));
        if (!grown) {
            free(copy);
            return false;
        }
        *table = grown;
        *capacity += kGrowBy;
    }
    (*table)[(*count)++] = copy;
    return true;
}

// Files (files != 0) or folders fitting mask (null: none) into the result;
// with folders non-null, also every visible subfolder's narrow name into
// *folders and *folderCount, which stay null and 0 when there is none.
wchar_t **listOpenFolder(DIR *dir, const wchar_t *mask, int *count, int files, char ***folders, int *folderCount)
{
    int capacity = 0;
    wchar_t **table = nullptr;
    int found = 0;
    int folderCapacity = 0;
    bool listing = mask != nullptr;
    bool listingFolders = folders != nullptr;
    wchar_t name[kNameBuffer];
    while (listing || listingFolders) {
        const dirent *entry = readdir(dir);
        if (!entry)
            break;
        if (entry->d_ino == 0 || entry->d_name[0] == '.')
            continue;
        if (listingFolders && entry->d_type == DT_DIR &&
            !append(folders, &folderCapacity, folderCount, strdup(entry->d_name)))
            listingFolders = false;
        if (!listing || !entryHasWantedType(entry, files))
            continue;
        A2T_cpy(name, kNameBuffer, entry->d_name);
        if (FFileMaskMatch(name, mask) && !append(&table, &capacity, &found, TcsDup(name)))
            listing = false;
    }
    if (found == 0) { // memory ran out before the first name was kept
        free(table);
        table = nullptr;
    }
    if (folders && *folderCount == 0) {
        free(*folders);
        *folders = nullptr;
    }
    *count = found;
    return table;
}

wchar_t **listFolder(const wchar_t *folder, const wchar_t *mask, int *count, int files)
{
    char *narrowFolder = T2A_dup(folder);
    if (!narrowFolder)
        return nullptr;
    int dirFd = open(narrowFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    free(narrowFolder);
    if (dirFd < 0)
        return nullptr;
    wchar_t **table = FileListByMaskAt(dirFd, mask, count, files);
    close(dirFd);
    return table;
}

wchar_t **listAt(int dirFd, const wchar_t *mask, int *count, int files, char ***folders, int *folderCount)
{
    int ownFd = openat(dirFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (ownFd < 0)
        return nullptr;
    DIR *dir = fdopendir(ownFd);
    if (!dir) {
        close(ownFd);
        return nullptr;
    }
    wchar_t **table = listOpenFolder(dir, mask, count, files, folders, folderCount);
    closedir(dir);
    return table;
}

} // namespace

extern "C" {

int FFileMaskMatch(const wchar_t *name, const wchar_t *mask)
{
    if (!name || !mask || mask[0] == L'\0')
        return 0;
    const size_t length = wcslen(name);
    size_t pos = 0;
    for (const wchar_t *maskChar = mask; *maskChar; ++maskChar) {
        if (pos >= length)
            return 0;
        if (*maskChar == L'?') {
            ++pos;
        } else if (*maskChar == L'*') {
            if (maskChar[1] == L'\0')
                return 1;
            // A star stops at the next dot so that "*.txt" means one extension.
            while (pos < length && name[pos] != L'.')
                ++pos;
        } else {
            if (name[pos] != *maskChar)
                return 0;
            ++pos;
        }
    }
    return pos == length ? 1 : 0;
}

wchar_t **FileListByMaskAt(int dirFd, const wchar_t *mask, int *count, int files)
{
    int ignored = 0;
    if (!count)
        count = &ignored;
    *count = 0;
    if (dirFd < 0 || !mask || mask[0] == L'\0')
        return nullptr;
    return listAt(dirFd, mask, count, files, nullptr, nullptr);
}

wchar_t **FileListWithFoldersAt(int dirFd, const wchar_t *mask, int *count, char ***folders, int *folderCount)
{
    int ignored = 0;
    if (!count)
        count = &ignored;
    *count = 0;
    int ignoredFolders = 0;
    if (!folderCount)
        folderCount = &ignoredFolders;
    *folderCount = 0;
    if (folders)
        *folders = nullptr;
    if (dirFd < 0)
        return nullptr;
    wchar_t **table =
        listAt(dirFd, mask && mask[0] ? mask : nullptr, count, 1, folders, folders ? folderCount : nullptr);
    return table;
}

wchar_t **FileListByMask(const wchar_t *folder, const wchar_t *mask, int *count, int files)
{
    int ignored = 0;
    if (!count)
        count = &ignored;
    *count = 0;
    if (!folder || folder[0] == L'\0')
        return nullptr;
    if (mask)
        return listFolder(folder, mask, count, files);

    // No mask: the path's last component is the mask.
    wchar_t *copy = TcsDup(folder);
    if (!copy)
        return nullptr;
    wchar_t *split = nullptr;
    for (wchar_t *pos = copy; *pos; ++pos)
        if (isFolderSeparator(*pos))
            split = pos;
    if (!split)
        split = wcsrchr(copy, L':');

    wchar_t **table;
    if (split) {
        *split = L'\0';
        table = listFolder(copy, split + 1, count, files);
    } else {
        table = listFolder(L".", copy, count, files);
    }
    free(copy);
    return table;
}

wchar_t **FileListByExt(const wchar_t *folder, const wchar_t *ext, int *count, int files)
{
    int ignored = 0;
    if (!count)
        count = &ignored;
    *count = 0;
    if (!ext)
        ext = L"";
    if (ext[0] == L'.')
        ++ext;
    const size_t extLength = wcslen(ext);
    wchar_t mask[kExtMaskBuffer];
    if (extLength > kExtMaskBuffer - 3)
        return nullptr;
    mask[0] = L'*';
    mask[1] = L'.';
    wmemcpy(mask + 2, ext, extLength + 1);
    return FileListByMask(folder, mask, count, files);
}

} // extern "C"
