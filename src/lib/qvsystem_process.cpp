// qvsystem_process: what a program needs of its own process: the working
// folder, shell commands, the executable's and a module's location, the
// environment, dynamic loading and two wide-text number readers.
//
// Wide forms convert with T2A_dup/A2T_dup; every string returned is a new
// allocation for the caller to free(). Paths handed to chdir and dlopen are
// cleaned in the caller's own string, as the non-const parameters say.
// Dynamic-link error codes: 0 none, 1 not loaded, 2 symbol not found.

#include "qvsystem.h"

#include "qvstring.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace {

// The working folder is read with this limit, terminator included, and the
// wide result holds as many characters: a longer folder name is a failure.
constexpr size_t kCwdChars = 512;
constexpr size_t kLinkBuffer = 4096;
constexpr size_t kLongestExePath = 511;
constexpr size_t kNumberBuffer = 32;

constexpr int kLinkOk = 0;
constexpr int kLinkNotLoaded = 1;
constexpr int kLinkNoSymbol = 2;

const char kSelfExe[] = "/proc/self/exe";

int changeFolder(const char *path)
{
    return path && chdir(path) == 0 ? 1 : 0;
}

// Target of /proc/self/exe in target (kLinkBuffer bytes), or false when
// the link cannot be read or its target no longer exists. stat follows
// links, so the target never shows as a link itself: one reading is all.
bool readSelfExe(char *linkName, char *target)
{
    memcpy(linkName, kSelfExe, sizeof kSelfExe);
    const ssize_t length = readlink(linkName, target, kLinkBuffer - 1);
    if (length < 0)
        return false;
    target[length] = '\0';
    struct stat status;
    return stat(target, &status) == 0;
}

void setError(int32_t *error, int code)
{
    if (error)
        *error = code;
}

void *loadLibrary(char *file, int32_t *error)
{
    if (file && file[0])
        FixPathSeparatorA(file);
    void *handle = dlopen(file, RTLD_NOW | RTLD_GLOBAL);
    setError(error, handle ? kLinkOk : kLinkNotLoaded);
    return handle;
}

} // namespace

extern "C" {

int IChDir(wchar_t *path)
{
    if (!path || path[0] == L'\0')
        return 0;
    FixPathSeparator(path);
    char *narrow = T2A_dup(path);
    int result = changeFolder(narrow);
    free(narrow);
    return result;
}

int IChDirA(char *path)
{
    if (!path || path[0] == '\0')
        return 0;
    return changeFolder(FixPathSeparatorA(path));
}

// A failed getcwd leaves the result block unreleased; that leak is kept on
// purpose, callers must not count on either outcome.
wchar_t *SGetCwd(void)
{
    auto result = static_cast<wchar_t *>(malloc(kCwdChars * sizeof(wchar_t)));
    if (!result)
        return nullptr;
    char work[kCwdChars];
    if (!getcwd(work, sizeof work))
        return nullptr;
    wchar_t *wide = A2T_dup(work);
    if (!wide) {
        free(result);
        return nullptr;
    }
    wcsncpy(result, wide, kCwdChars - 1);
    result[kCwdChars - 1] = L'\0';
    free(wide);
    return result;
}

char *SGetCwdA(void)
{
    auto result = static_cast<char *>(malloc(kCwdChars));
    if (!result)
        return nullptr;
    return getcwd(result, kCwdChars) ? result : nullptr;
}

int ISystemCall(const wchar_t *command)
{
    char *narrow = T2A_dup(command);
    int status = system(narrow);
    free(narrow);
    return status;
}

int ISystemCallA(const char *command)
{
    return system(command);
}

wchar_t *SGetExeFullPath(void)
{
    auto linkName = static_cast<char *>(malloc(kLinkBuffer));
    auto target = static_cast<char *>(malloc(kLinkBuffer));
    wchar_t *result = nullptr;
    if (linkName && target && readSelfExe(linkName, target) && strlen(target) <= kLongestExePath)
        result = A2T_dup(target);
    free(linkName);
    free(target);
    return result;
}

// Keeps the trailing separator; SGetModuleFolderOf drops it.
wchar_t *SGetModuleFolder(const wchar_t *mustBeEmpty)
{
    if (mustBeEmpty && mustBeEmpty[0])
        return nullptr;
    wchar_t *path = SGetExeFullPath();
    if (!path)
        return nullptr;
    size_t end = wcslen(path);
    while (end > 0 && path[end - 1] != L'/' && path[end - 1] != L':' && path[end - 1] != L'\\')
        --end;
    path[end] = L'\0';
    return path;
}

wchar_t *SGetModuleFolderOf(const void *address, int32_t levels)
{
    Dl_info info;
    if (!dladdr(address, &info) || !info.dli_fname)
        return nullptr;
    wchar_t *path = A2T_dup(info.dli_fname);
    if (!path)
        return nullptr;
    for (int32_t level = 0; level < levels; ++level) {
        const size_t length = wcslen(path);
        size_t end = length;
        while (end > 0) {
            wchar_t ch = path[end - 1];
            if (ch == L'/' || ch == L'\\') {
                path[end - 1] = L'\0';
                break;
            }
            if (ch == L':') {
                path[end] = L'\0';
                break;
            }
            --end;
        }
        if (end == 0)
            path[0] = L'\0';
        // An empty text or a kept drive colon cannot get shorter.
        if (wcslen(path) == length)
            break;
    }
    return path;
}

wchar_t *SGetEnv(const wchar_t *name)
{
    char *narrow = T2A_dup(name);
    if (!narrow)
        return nullptr;
    const char *value = getenv(narrow);
    free(narrow);
    return value ? A2T_dup(value) : nullptr;
}

char *SGetEnvA(const char *name)
{
    const char *value = name ? getenv(name) : nullptr;
    return value ? StrDup(value) : nullptr;
}

wchar_t *SGetUserFolder(void)
{
    return SGetEnv(L"HOME");
}

void *GetDynamicLink(char *file, const char *symbol, int32_t *error)
{
    setError(error, kLinkOk);
    void *handle = loadLibrary(file, error);
    if (!handle || !symbol)
        return nullptr;
    void *address = dlsym(handle, symbol);
    if (!address)
        setError(error, kLinkNoSymbol);
    return address;
}

void *GetDynamicLinkHandle(char *file, int32_t *error)
{
    return loadLibrary(file, error);
}

void *GetDynamicLinkSymbol(void *handle, const char *symbol, int32_t *error)
{
    if (!handle || !symbol) {
        setError(error, kLinkNoSymbol);
        return nullptr;
    }
    void *address = dlsym(handle, symbol);
    setError(error, address ? kLinkOk : kLinkNoSymbol);
    return address;
}

double TAtoF(const wchar_t *text)
{
    char narrow[kNumberBuffer];
    T2A_cpy(narrow, sizeof narrow, text);
    return strtod(narrow, nullptr);
}

int64_t TAtoI(const wchar_t *text)
{
    char narrow[kNumberBuffer];
    T2A_cpy(narrow, sizeof narrow, text);
    return static_cast<int64_t>(strtol(narrow, nullptr, 10));
}

} // extern "C"
