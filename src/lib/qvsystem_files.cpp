// qvsystem_files: opening, removing, renaming, testing and copying files,
// and the length and time of an open stream.
//
// Every path is cleaned first ('\\' becomes '/', trailing codes up to 32 are
// cut) on a private copy, never on the caller's string. Wide paths are
// copied with TcsDup and converted to UTF-8 with T2A_dup just before the
// system call; narrow paths are copied with StrDup. One template serves both
// forms: PathCopy owns the cleaned copy and its UTF-8 form.

#include "qvsystem.h"

#include "qvstring.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

constexpr size_t kCopyBuffer = 16384;
constexpr size_t kFallbackCopyBuffer = 1024;

char *duplicate(const char *text)
{
    return StrDup(text);
}
wchar_t *duplicate(const wchar_t *text)
{
    return TcsDup(text);
}

size_t lengthOf(const char *text)
{
    return strlen(text);
}
size_t lengthOf(const wchar_t *text)
{
    return wcslen(text);
}

// The signed comparison is deliberate: in narrow text, bytes of a UTF-8
// ending count as blanks and are cut with them.
template <typename Char, typename Signed> Char *cleanPath(Char *path)
{
    if (!path || path[0] == Char('\0'))
        return path;
    Char *pos = path;
    for (; *pos; ++pos)
        if (*pos == Char('\\'))
            *pos = Char('/');
    while (pos > path && static_cast<Signed>(pos[-1]) <= 32)
        *--pos = Char('\0');
    return path;
}

char *clean(char *path)
{
    return cleanPath<char, signed char>(path);
}
wchar_t *clean(wchar_t *path)
{
    return cleanPath<wchar_t, int32_t>(path);
}

// A cleaned private copy of a path and its UTF-8 form; narrow() is null
// when the path was null or memory ran out.
template <typename Char> class PathCopy {
public:
    explicit PathCopy(const Char *path) : copy_(clean(duplicate(path)))
    {
        if constexpr (sizeof(Char) == 1)
            narrow_ = copy_;
        else
            narrow_ = T2A_dup(copy_);
    }
    ~PathCopy()
    {
        if constexpr (sizeof(Char) != 1)
            free(narrow_);
        free(copy_);
    }
    PathCopy(const PathCopy &) = delete;
    PathCopy &operator=(const PathCopy &) = delete;

    Char *text() const { return copy_; }
    const char *narrow() const { return narrow_; }

private:
    Char *copy_;
    char *narrow_ = nullptr;
};

// UTF-8 form of a wide prefix for the folder walk; the narrow form needs none.
struct NarrowOwned {
    char *text;
    bool owned;
};
NarrowOwned toNarrow(char *text)
{
    return {text, false};
}
NarrowOwned toNarrow(wchar_t *text)
{
    return {T2A_dup(text), true};
}

bool isFolder(const char *path)
{
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

// Creates every missing folder on the way to the file named by path (the
// copy is cut and restored at each separator). false when a creation fails.
template <typename Char> bool makeFolders(Char *path)
{
    for (Char *pos = path + 1; *pos; ++pos) {
        if (*pos == Char('\\'))
            *pos = Char('/');
        if (*pos != Char('/') || pos[-1] == Char('/') || pos[-1] == Char(':'))
            continue;
        *pos = Char('\0');
        NarrowOwned prefix = toNarrow(path);
        bool made = prefix.text && (isFolder(prefix.text) || mkdir(prefix.text, 0777) == 0);
        if (prefix.owned)
            free(prefix.text);
        *pos = Char('/');
        if (!made)
            return false;
    }
    return true;
}

template <typename Char> FILE *openFile(const Char *path, const char *mode)
{
    PathCopy<Char> cleaned(path);
    if (!cleaned.narrow())
        return nullptr;
    if (!mode || mode[0] == '\0')
        mode = "rb";
    if (FILE *stream = fopen(cleaned.narrow(), mode))
        return stream;
    if (!strchr(mode, 'w'))
        return nullptr;

    Char *walkCopy = duplicate(cleaned.text());
    if (!walkCopy || walkCopy[0] == Char('\0')) {
        free(walkCopy);
        // The wide form gives up here; the narrow form tries once more.
        if constexpr (sizeof(Char) != 1)
            return nullptr;
        return fopen(cleaned.narrow(), mode);
    }
    bool walked = lengthOf(walkCopy) < 2 || makeFolders(walkCopy);
    free(walkCopy);
    return walked ? fopen(cleaned.narrow(), mode) : nullptr;
}

template <typename Char> int removeFile(const Char *path)
{
    PathCopy<Char> cleaned(path);
    return cleaned.narrow() ? remove(cleaned.narrow()) : -1;
}

template <typename Char> int renameFile(const Char *oldPath, const Char *newPath)
{
    PathCopy<Char> cleanedOld(oldPath);
    PathCopy<Char> cleanedNew(newPath);
    if (!cleanedOld.narrow() || !cleanedNew.narrow())
        return -1;
    return rename(cleanedOld.narrow(), cleanedNew.narrow());
}

template <typename Char> int fileExists(const Char *path)
{
    PathCopy<Char> cleaned(path);
    if (!cleaned.narrow())
        return 0;
    int descriptor = open(cleaned.narrow(), O_RDONLY);
    if (descriptor < 0)
        return 0;
    close(descriptor);
    return 1;
}

// Copies until the source ends. A read error ends the copy as end of file
// would: only write errors are reported.
int fileCopyByHandle(int destination, int source)
{
    size_t size = kCopyBuffer;
    auto buffer = static_cast<char *>(malloc(size));
    if (!buffer) {
        size = kFallbackCopyBuffer;
        buffer = static_cast<char *>(malloc(size));
    }
    if (!buffer)
        return ENOMEM;

    ssize_t got;
    while ((got = read(source, buffer, size)) > 0) {
        const char *pending = buffer;
        while (got > 0) {
            ssize_t written = write(destination, pending, static_cast<size_t>(got));
            if (written < 0) {
                if (errno == EINTR)
                    continue;
                int error = errno;
                free(buffer);
                return error;
            }
            pending += written;
            got -= written;
        }
    }
    free(buffer);
    return 0;
}

template <typename Char> int copyFile(const Char *destinationPath, const Char *sourcePath)
{
    PathCopy<Char> cleanedSource(sourcePath);
    if (!cleanedSource.narrow())
        return sourcePath ? ENOMEM : EINVAL;
    int source = open(cleanedSource.narrow(), O_RDONLY);
    if (source < 0)
        return errno;

    int result;
    PathCopy<Char> cleanedDestination(destinationPath);
    if (!cleanedDestination.narrow()) {
        result = destinationPath ? ENOMEM : EINVAL;
    } else {
        // Write-only for the owner and no truncation: a longer old file
        // keeps its tail beyond the copied bytes.
        int destination = open(cleanedDestination.narrow(), O_WRONLY | O_CREAT, 0200);
        if (destination < 0) {
            result = errno;
        } else {
            result = fileCopyByHandle(destination, source);
            if (close(destination) != 0)
                result = errno;
        }
    }
    close(source);
    return result;
}

bool streamStatus(FILE *stream, struct stat *status)
{
    if (!stream)
        return false;
    int descriptor = fileno(stream);
    return descriptor >= 0 && fstat(descriptor, status) == 0;
}

} // namespace

extern "C" {

wchar_t *FixPathSeparator(wchar_t *path)
{
    return clean(path);
}
char *FixPathSeparatorA(char *path)
{
    return clean(path);
}

FILE *FileOpen(const wchar_t *path, const wchar_t *mode)
{
    char *narrowMode = mode && mode[0] ? T2A_dup(mode) : nullptr;
    if (mode && mode[0] && !narrowMode)
        return nullptr;
    FILE *stream = openFile(path, narrowMode);
    free(narrowMode);
    return stream;
}
FILE *FileOpenA(const char *path, const char *mode)
{
    return openFile(path, mode);
}

int IFileRemove(const wchar_t *path)
{
    return removeFile(path);
}
int IFileRemoveA(const char *path)
{
    return removeFile(path);
}

int IFileRename(const wchar_t *oldPath, const wchar_t *newPath)
{
    return renameFile(oldPath, newPath);
}
int IFileRenameA(const char *oldPath, const char *newPath)
{
    return renameFile(oldPath, newPath);
}

int IFileExists(const wchar_t *path)
{
    return fileExists(path);
}
int IFileExistsA(const char *path)
{
    return fileExists(path);
}

int IFolderExistsA(const char *path)
{
    return path && isFolder(path) ? 1 : 0;
}
int IFolderExists(const wchar_t *path)
{
    char *narrow = T2A_dup(path);
    int result = narrow && isFolder(narrow) ? 1 : 0;
    free(narrow);
    return result;
}

int IFileCopy(const wchar_t *destination, const wchar_t *source)
{
    return copyFile(destination, source);
}
int IFileCopyA(const char *destination, const char *source)
{
    return copyFile(destination, source);
}

int64_t LFileLength(FILE *stream)
{
    struct stat status;
    return streamStatus(stream, &status) ? static_cast<int64_t>(status.st_size) : -1;
}

int64_t LFileTime1970(FILE *stream)
{
    struct stat status;
    return streamStatus(stream, &status) ? static_cast<int64_t>(status.st_mtime) : -1;
}

} // extern "C"
