// Read floor: the least work any search of a folder tree must do.
//
// Walks the tree under the folder given on the command line exactly as
// `fyndle -s` does: entries whose name begins with '.' are skipped, only
// entries of type DT_DIR are descended (symbolic links are not followed)
// and only entries of type DT_REG are read; each folder's files come
// before its subfolders, in the order the folder lists them. Every file is
// opened, its size taken with fstat and read whole with read() calls of
// READ_FLOOR_CHUNK bytes into one fixed buffer; nothing is done with the
// bytes. The program prints the number of files and bytes read, so that its
// output can be checked and is never thrown away unseen.
//
// Built twice: read_floor_5k (5120-byte reads, the window size fyndle
// searches in) and read_floor_256k (256 KiB reads, the fastest read size
// on the machines measured).
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#ifndef READ_FLOOR_CHUNK
#define READ_FLOOR_CHUNK 5120
#endif

namespace {

constexpr size_t kChunk = READ_FLOOR_CHUNK;
alignas(64) char g_buffer[kChunk];

int64_t g_files = 0;
int64_t g_bytes = 0;
int64_t g_checksum = 0; // one byte per chunk, so the reads cannot be dropped

void readFile(int dirFd, const char *name)
{
    int fd = openat(dirFd, name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return;
    struct stat status;
    if (fstat(fd, &status) == 0 && status.st_size > 0) {
        int64_t total = 0;
        while (total < status.st_size) {
            ssize_t got = read(fd, g_buffer, kChunk);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                break;
            total += got;
            g_checksum += static_cast<unsigned char>(g_buffer[0]);
        }
        g_bytes += total;
    }
    ++g_files;
    close(fd);
}

void walk(int dirFd)
{
    std::vector<std::string> files;
    std::vector<std::string> folders;
    int own = dup(dirFd);
    if (own < 0)
        return;
    DIR *dir = fdopendir(own);
    if (dir == nullptr) {
        close(own);
        return;
    }
    while (const dirent *entry = readdir(dir)) {
        if (entry->d_ino == 0 || entry->d_name[0] == '.')
            continue;
        if (entry->d_type == DT_REG)
            files.emplace_back(entry->d_name);
        else if (entry->d_type == DT_DIR)
            folders.emplace_back(entry->d_name);
    }
    closedir(dir);
    for (const std::string &name : files)
        readFile(dirFd, name.c_str());
    for (const std::string &name : folders) {
        int sub = openat(dirFd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (sub < 0)
            continue;
        walk(sub);
        close(sub);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::printf("usage: %s folder\n", argv[0]);
        return 2;
    }
    int fd = open(argv[1], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        std::printf("cannot open %s\n", argv[1]);
        return 1;
    }
    walk(fd);
    close(fd);
    std::printf("%lld files, %lld bytes read in %zu-byte calls (check %lld)\n", static_cast<long long>(g_files),
                static_cast<long long>(g_bytes), kChunk, static_cast<long long>(g_checksum));
    return 0;
}
