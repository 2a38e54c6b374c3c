// qvsystem: system services of the qv support library.
//
// Paths are NUL-terminated, narrow (UTF-8, functions ending in A) or wide
// (32-bit characters). '/' and '\\' both end a folder part; ':' ends a
// drive prefix. Strings returned are new allocations owned by the caller
// (free them with free()), except the file-name parts, which point into
// their argument. Nothing here prints; failures are return values.
#ifndef QVSYSTEM_H
#define QVSYSTEM_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#endif

// ---- File listing by mask --------------------------------------------
// Masks: '?' is any one character; '*' as the last mask character matches
// the rest of the name; '*' elsewhere skips up to the next '.' of the name
// (it never runs past a dot, so "*.txt" does not fit "a.b.txt"). Other
// characters match themselves, case-sensitively. An empty mask fits
// nothing.

// 1 when name fits mask, else 0. Null arguments fit nothing.
int FFileMaskMatch(const wchar_t *name, const wchar_t *mask);

// Lists the regular files (files != 0) or the folders (files == 0) of
// folder whose names fit mask, in the folder's own order, skipping hidden
// entries (names starting with '.') and entries of unknown type. With a null
// mask the last component of folder is the mask. Returns a plain table of
// new wide strings and sets *count, or null with *count = 0 when nothing is
// listed or the folder cannot be opened. Release with
// TabFreePlain(list, *count, 1). Each name passes through a buffer of 512
// wide characters (a longer one would be cut to 511 whole characters). When
// memory runs out while listing, the names collected so far are returned.
wchar_t **FileListByMask(const wchar_t *folder, const wchar_t *mask, int *count, int files);

// As FileListByMask for the folder open as dirFd (opened for reading or
// with O_PATH), so that folders whose path is too long for one system call
// can be listed. dirFd stays open and its read position is not moved. A
// negative dirFd, or a null or empty mask, lists nothing (null, *count =
// 0).
wchar_t **FileListByMaskAt(int dirFd, const wchar_t *mask, int *count, int files);

// As FileListByMaskAt(dirFd, mask, count, 1), and from the same reading of
// the folder its visible subfolders (hidden ones and entries of unknown type
// skipped), for a walk into them: a plain table of new narrow strings in
// *folders, each name as the folder stores it (never passed through wide
// text, so any name can be opened), in the folder's order, with their number
// in *folderCount; null and 0 when there is none or folders is null. A null
// or empty mask lists no files but still the subfolders. Release both tables
// with TabFreePlain(table, count, 1). When memory runs out, each table keeps
// the names collected so far.
wchar_t **FileListWithFoldersAt(int dirFd, const wchar_t *mask, int *count, char ***folders, int *folderCount);

// As FileListByMask with the mask "*." followed by ext (a leading '.' of ext
// is skipped; a null ext counts as empty). The mask is built in a buffer of
// 260 wide characters: an extension longer than 257 characters (after its
// dot) lists nothing (null, *count = 0).
wchar_t **FileListByExt(const wchar_t *folder, const wchar_t *ext, int *count, int files);

// ---- Files and paths -------------------------------------------------
// Every path below is first cleaned on a private copy (the caller's string
// is untouched) as FixPathSeparator does, unless stated otherwise. Wide
// forms convert to UTF-8 just before the system call. A null path fails
// like a missing file.

// Cleans path in place and returns it: every '\\' becomes '/', then the
// trailing characters whose code, taken as signed, is at most 32 are cut.
// In the narrow form the codes are signed bytes, so the bytes of a trailing
// UTF-8 character (0x80..0xFF) are cut too; the wide form keeps non-ASCII
// endings. A null or empty path is returned unchanged.
wchar_t *FixPathSeparator(wchar_t *path);
char *FixPathSeparatorA(char *path);

// fopen of the cleaned path; a null or empty mode means "rb". When that
// fails and mode contains 'w', the missing folders of the path are created
// (0777 less the process umask) and the open is tried once more. Returns the
// stream or null; folders made before a failure stay.
FILE *FileOpen(const wchar_t *path, const wchar_t *mode);
FILE *FileOpenA(const char *path, const char *mode);

// remove() of the cleaned path (a file or an empty folder): 0 or -1.
int IFileRemove(const wchar_t *path);
int IFileRemoveA(const char *path);

// rename() of the cleaned paths: 0, or -1 on failure (also when a path is
// null or cannot be copied).
int IFileRename(const wchar_t *oldPath, const wchar_t *newPath);
int IFileRenameA(const char *oldPath, const char *newPath);

// 1 when the cleaned path opens read-only (so a readable folder too), else
// 0.
int IFileExists(const wchar_t *path);
int IFileExistsA(const char *path);

// 1 when path (not cleaned, links followed) is a folder, else 0; null: 0.
int IFolderExists(const wchar_t *path);
int IFolderExistsA(const char *path);

// Copies source over destination (note the order). The destination is
// opened write-only without truncation, created with mode 0200 when
// missing: a longer old destination keeps its bytes past the copied length.
// Returns 0, or the errno value of the failed open, write or close (a read
// error ends the copy silently); ENOMEM when no copy buffer can be had,
// EINVAL for a null path. A missing source leaves the destination alone.
int IFileCopy(const wchar_t *destination, const wchar_t *source);
int IFileCopyA(const char *destination, const char *source);

// Size in bytes / last modification time in seconds since 1970-01-01 UTC
// of an open stream, or -1 when its status cannot be read (null stream,
// descriptor no longer valid).
int64_t LFileLength(FILE *stream);
int64_t LFileTime1970(FILE *stream);

// ---- Process environment ---------------------------------------------

// Cleans path in place (FixPathSeparator: the caller's string changes) and
// makes it the working folder. 1 on success, 0 on failure; a null or empty
// path is 0 without any call.
int IChDir(wchar_t *path);
int IChDirA(char *path);

// The working folder as a new string (at most 511 bytes of UTF-8 are read),
// or null when it cannot be read or does not fit. On that failure the
// result block is deliberately not released.
wchar_t *SGetCwd(void);
char *SGetCwdA(void);

// system() of the command (wide: converted to UTF-8); its status as is. A
// null command asks whether a shell is available, as system(NULL) does.
int ISystemCall(const wchar_t *command);
int ISystemCallA(const char *command);

// Full path of the running executable (from /proc/self/exe), or null when
// it cannot be read or is longer than 511 bytes.
wchar_t *SGetExeFullPath(void);

// Folder of the running executable WITH its trailing separator
// ("/usr/local/bin/"), or "" when the path has no '/', ':' or '\\'. The
// argument must be null or empty; anything else gives null.
wchar_t *SGetModuleFolder(const wchar_t *mustBeEmpty);

// File of the loaded module (executable or shared library) holding address,
// cut back by levels path levels WITHOUT trailing separator: one level of
// "/usr/lib/libx.so" is "/usr/lib", two "/usr", three "". A ':' met while
// cutting is kept. levels < 1 gives the file name itself; null when no
// module holds the address.
wchar_t *SGetModuleFolderOf(const void *address, int32_t levels);

// Value of an environment variable as a new string, null when it is not
// set (or name is null). SGetUserFolder is SGetEnv(L"HOME").
wchar_t *SGetEnv(const wchar_t *name);
char *SGetEnvA(const char *name);
wchar_t *SGetUserFolder(void);

// Dynamic loading. *error (may be null) receives 0 when all went well, 1
// when the library cannot be loaded, 2 when the symbol is not found or no
// handle or symbol is given. The library file name is cleaned in place
// (FixPathSeparatorA); a null file is the running program. Libraries are
// loaded RTLD_NOW | RTLD_GLOBAL and never unloaded.
// GetDynamicLink: the symbol's address; a null symbol gives null with 0.
// GetDynamicLinkHandle: the library handle. GetDynamicLinkSymbol: dlsym.
void *GetDynamicLink(char *file, const char *symbol, int32_t *error);
void *GetDynamicLinkHandle(char *file, int32_t *error);
void *GetDynamicLinkSymbol(void *handle, const char *symbol, int32_t *error);

// The number at the start of text (leading blanks skipped, the rest
// ignored; none gives 0), read with strtod / strtol base 10 after a
// conversion to UTF-8 cut at 31 bytes. A null text gives 0.
double TAtoF(const wchar_t *text);
int64_t TAtoI(const wchar_t *text);

// ---- File name parts -------------------------------------------------

// The base name inside path: after the last '/' or '\\', else after the
// last ':', else path itself. Points into path; a null path gives null.
wchar_t *SFileBase(const wchar_t *path);
char *SFileBaseA(const char *path);

// The extension inside path, dot included: the last '.' of the base name,
// or the terminator when the base name has none. Points into path; a null
// path gives null.
wchar_t *SFileExt(const wchar_t *path);
char *SFileExtA(const char *path);

#ifdef __cplusplus
}
#endif

#endif // QVSYSTEM_H
