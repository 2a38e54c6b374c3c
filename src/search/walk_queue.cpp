// The ordered walk.
//
// Folders sit in one list in walk order; listing a folder inserts its
// subfolders right after it, so the list is always the depth-first order
// of what is known so far. The cursor is the folder whose work is handed
// out next: its "Trying" lines (under -v) and its files, a few files to a
// claim. Every claim opens an output slot at once, under the lock that
// hands it out, so slots are in the walk's order whoever takes them.
// Folders up to kListAhead places after the cursor may be listed early by
// any thread that finds no other work; that is what keeps more than one
// thread busy where folders hold few files.
//
// Descriptors are counted against a budget taken from the open-file limit.
// A claim reserves what it may open before it is handed out; an open folder
// that nobody uses may be closed to make room (the one opened longest ago,
// since the walk goes deeper first), and is opened again when it is needed:
// as ".." of a subfolder still open, or by its path from the nearest open
// folder above it, and in both cases only when it is still the same folder
// (device and inode). A folder that cannot be opened again has moved away:
// its subfolders not yet entered are passed over, and its files not yet
// searched cannot be opened.
//
// A folder stays in the list while anything still needs it: its files are
// not all handed out, a claim uses it, a subfolder is not listed yet (it is
// opened through the folder's descriptor and named after its path), or a
// subfolder is still in the list (whose way back is through it).
#include "walk_queue.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <list>
#include <malloc.h>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "folder.h"
#include "fyndle.h"
#include "qvstring.h"
#include "report.h"
#include "scanner.h"

namespace {

// Folders listed ahead of the cursor, at most.
constexpr int kListAhead = 64;
// Files in one claim, at most: enough to make the lock rare, few enough
// that the threads share a folder's files.
constexpr size_t kClaimFiles = 8;
// Searching threads' stacks: the search keeps its buffers on the heap.
constexpr size_t kThreadStack = 1 << 20;
// Threads at most while reads block.
constexpr int kMaxColdThreads = 16;
// Memory a new thread must leave free for the rest of the run.
constexpr size_t kSpareMemory = 8 << 20;

enum class FolderState { Unlisted, Listing, Listed };

struct Folder {
    Folder *parent = nullptr; // the folder it was listed in; null for the start
    std::string name;         // its name there, as stored
    std::string path;         // as printed; dropped once nothing needs it
    bool roundTrips = true;   // the path survives the trip through wide text
    FolderState state = FolderState::Unlisted;
    bool gone = false;       // its folder moved away before it was entered: nothing of it is printed
    int fd = -1;             // open descriptor, or -1
    int users = 0;           // claims using fd now
    bool identified = false; // device and inode are known
    dev_t device = 0;        // its identity, to check a descriptor opened again
    ino_t inode = 0;
    FolderListing listing;                // what its reading gave
    size_t unlisted = 0;                  // subfolders not listed yet
    size_t inList = 0;                    // subfolders still in the list
    bool handedOut = false;               // all its messages and files are handed out
    std::list<Folder *>::iterator openAt; // its place among the open folders, while fd >= 0
    std::list<Folder>::iterator self;     // its place in the walk's list
};

using FolderList = std::list<Folder>;

struct Claim {
    enum Kind { Wait, List, Files, Done };
    explicit Claim(Kind what = Wait, Folder *of = nullptr, int descriptors = 0)
        : kind(what), folder(of), reserved(descriptors)
    {}
    Kind kind;
    Folder *folder; // the folder it lists, or whose files it searches
    int reserved;   // descriptors reserved for it
    // Files:
    OutputSlot *slot = nullptr;        // where its output goes
    size_t mask = 0;                   // the mask whose files these are
    bool trying = false;               // it prints the mask's "Trying" line first
    bool uncached = false;             // a name was not in the kernel's caches: reads block
    size_t first = 0, count = 0;       // the files [first, first + count) of the mask
    int64_t numbers[kClaimFiles] = {}; // each file's number, once searched
    // List:
    FolderList subfolders; // made while listing, moved into the walk's list at once
};

// One searching thread's tools.
struct Worker {
    explicit Worker(SearchRun &run)
        : sink(run.output), searcher(g_fCountLines ? nullptr : &run.pattern, sink, run.output.FailedFlag())
    {}
    OutputSink sink;
    FileSearcher searcher;
    CacheProbe probe; // what its opens tell of the kernel's caches
    FolderList letGo; // folders and names let go of under the lock, freed after it
};

class Walk {
public:
    Walk(SearchRun &run, const WalkStart &start, int threads, int budget);
    // Starts the walk's threads, the calling one among them, and returns when
    // every one has ended.
    void Run();

private:
    // Takes claims and carries them out until the walk is done.
    void work(Worker &worker);
    // Starts one more thread with tools of its own; false when they cannot
    // be had. Lock held.
    bool startThread();
    bool startThreadWithin();
    static void *threadMain(void *walk);

    Claim next(std::unique_lock<std::mutex> &held);
    bool claimFiles(Folder &folder, Claim &claim);
    bool claimListing(Folder &folder, Claim &claim);
    Folder *listableAhead();
    void advanceCursor();
    void listFolder(Worker &worker, Claim &claim);
    void searchFiles(Worker &worker, Claim &claim);
    void finish(std::unique_lock<std::mutex> &held, Worker &worker, Claim &claim);

    bool reserve(int count);
    void unreserve(int count);
    void opened(Folder &folder, int fd);
    void closeFolder(Folder &folder, bool done);
    bool reopen(Folder &folder);
    void release(Folder *folder, FolderList *letGo = nullptr);
    std::string relativePath(const Folder &from, const Folder &to) const;

    SearchRun &run_;
    OrderedOutput &output_;
    std::vector<std::wstring> masks_;
    const bool subfolders_;
    const bool verbose_;
    const bool hintReads_;                         // tell the kernel which files come next: more reads in flight
    FolderList folders_;                           // walk order
    FolderList::iterator cursor_;                  // the folder whose work is handed out next
    size_t mask_ = 0;                              // the cursor's mask...
    size_t file_ = 0;                              // ...and file handed out next
    bool tryingDone_ = false;                      // the "Trying" line of that mask is handed out
    std::list<Folder *> open_;                     // folders with a descriptor, opened longest ago first
    int budget_;                                   // descriptors the walk may hold
    int inUse_ = 0;                                // descriptors held or reserved
    size_t claimFiles_;                            // files a claim takes at most
    int threads_;                                  // threads to start
    const int cpus_;                               // CPUs the run may use
    int threadLimit_;                              // threads there may be while reads block
    bool growing_ = true;                          // threads may still be started
    size_t taken_ = 0;                             // workers that a thread has taken
    std::vector<std::unique_ptr<Worker>> workers_; // one per thread, the calling thread's first
    std::vector<pthread_t> started_;               // the threads started
};

Walk::Walk(SearchRun &run, const WalkStart &start, int threads, int budget)
    : run_(run), output_(run.output), subfolders_(start.subfolders), verbose_(g_fVerbose != 0), hintReads_(threads > 1),
      budget_(budget), threads_(threads), cpus_(AllowedCpus())
{
    // More threads than CPUs keep more reads in flight where the disk is
    // slow, and only cost time where it is not: they are started only when
    // a claim meets names that are not in the kernel's caches. One CPU
    // stays one thread.
    threadLimit_ = threads < 2 ? 1 : std::min({2 * threads, kMaxColdThreads, budget / kWalkDescriptors});
    for (const std::string &mask : start.masks) {
        std::unique_ptr<wchar_t, decltype(&free)> wide(A2T_dup(mask.c_str()), &free);
        masks_.emplace_back(wide ? wide.get() : L"");
    }
    // Every thread must be able to take a claim of the most files while
    // the others hold theirs.
    const int perThread = budget_ / threads;
    claimFiles_ = perThread > static_cast<int>(kClaimFiles) + 1 ? kClaimFiles
                  : perThread > 2                               ? static_cast<size_t>(perThread - 1)
                                                                : 1;
    Folder &root = folders_.emplace_back();
    root.self = folders_.begin();
    root.path = start.path;
    root.roundTrips = start.roundTrips;
    root.fd = start.fd; // not counted, and never closed: the caller's
    cursor_ = folders_.begin();
}

bool Walk::reserve(int count)
{
    while (inUse_ + count > budget_) {
        Folder *idle = nullptr;
        for (Folder *folder : open_)
            if (folder->users == 0) {
                idle = folder;
                break;
            }
        if (idle == nullptr)
            return false;
        closeFolder(*idle, false);
    }
    inUse_ += count;
    return true;
}

void Walk::unreserve(int count)
{
    inUse_ -= count;
    output_.Notify();
}

// Records that folder's descriptor fd is open, counted in a reservation
// already made.
void Walk::opened(Folder &folder, int fd)
{
    folder.fd = fd;
    folder.openAt = open_.insert(open_.end(), &folder);
}

void Walk::closeFolder(Folder &folder, bool done)
{
    if (folder.parent == nullptr)
        return; // the starting folder's descriptor is the caller's
    // A folder closed while it still has work is opened again later, and
    // must then be known to be the same one.
    struct stat status;
    if (!done && !folder.identified && fstat(folder.fd, &status) == 0) {
        folder.identified = true;
        folder.device = status.st_dev;
        folder.inode = status.st_ino;
    }
    close(folder.fd);
    folder.fd = -1;
    open_.erase(folder.openAt);
    --inUse_;
}

std::string Walk::relativePath(const Folder &from, const Folder &to) const
{
    std::vector<const std::string *> names;
    for (const Folder *at = &to; at != &from; at = at->parent)
        names.push_back(&at->name);
    std::string path;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.empty())
            path += '/';
        path += **name;
    }
    return path;
}

// Opens folder again from the nearest open folder above it, checking that
// it is the same folder. Holds the lock (this is rare: only after the
// budget closed it), with one descriptor reserved for it and one for the
// open's pieces.
bool Walk::reopen(Folder &folder)
{
    const Folder *above = folder.parent;
    while (above->fd < 0 && above->parent != nullptr)
        above = above->parent;
    int fd = -1;
    if (above->fd >= 0 && folder.identified)
        fd = OpenLongPath(above->fd, relativePath(*above, folder), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat status;
    if (fd >= 0 && (fstat(fd, &status) != 0 || status.st_dev != folder.device || status.st_ino != folder.inode)) {
        close(fd);
        fd = -1;
    }
    if (fd < 0)
        return false;
    opened(folder, fd);
    return true;
}

// Lets go of what folder no longer needs: its descriptor, its path, its
// place in the list, and so on up through the folders above it. What is
// freed goes to letGo, when given, to be freed once the lock is let go.
void Walk::release(Folder *folder, FolderList *letGo)
{
    while (folder != nullptr) {
        const bool done = folder->handedOut && folder->users == 0 && folder->unlisted == 0;
        if (!done)
            return;
        Folder *parent = folder->parent;
        if (folder->fd >= 0 && parent != nullptr) {
            // Its parent may still want its descriptor back: ".." of this
            // one is the cheapest way there.
            const bool parentWaits =
                parent->fd < 0 && parent->identified && !parent->gone && (!parent->handedOut || parent->unlisted > 0);
            int up = -1;
            if (parentWaits)
                up = openat(folder->fd, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            closeFolder(*folder, true);
            struct stat status;
            if (up >= 0 && fstat(up, &status) == 0 && status.st_dev == parent->device &&
                status.st_ino == parent->inode) {
                ++inUse_;
                opened(*parent, up);
            } else if (up >= 0) {
                close(up);
            }
            output_.Notify();
        }
        if (folder->inList > 0 || parent == nullptr) {
            if (letGo != nullptr && !folder->listing.files.empty()) {
                Folder &names = letGo->emplace_back();
                names.path.swap(folder->path);
                names.listing.files.swap(folder->listing.files);
            }
            std::string().swap(folder->path);
            std::vector<std::vector<std::string>>().swap(folder->listing.files);
            return;
        }
        // Only folders behind the cursor are done, so the cursor stays.
        if (letGo != nullptr)
            letGo->splice(letGo->end(), folders_, folder->self);
        else
            folders_.erase(folder->self);
        --parent->inList;
        folder = parent;
    }
}

void Walk::advanceCursor()
{
    Folder &done = *cursor_;
    done.handedOut = true;
    ++cursor_;
    mask_ = file_ = 0;
    tryingDone_ = false;
    release(&done);
}

// The first folder within kListAhead places after the cursor that nobody
// has listed yet.
Folder *Walk::listableAhead()
{
    int place = 0;
    for (auto at = cursor_; at != folders_.end() && place <= kListAhead; ++at, ++place)
        if (at->state == FolderState::Unlisted)
            return &*at;
    return nullptr;
}

bool Walk::claimListing(Folder &folder, Claim &claim)
{
    Folder *parent = folder.parent;
    if (parent == nullptr) { // the starting folder is open already
        folder.state = FolderState::Listing;
        claim = Claim{Claim::List, &folder};
        return true;
    }
    // Its own descriptor and, for a path that does not survive wide text,
    // a second reading of the folder and that open's pieces; before them
    // the parent's, when the budget closed it. That reopen's pieces are
    // closed again before the listing opens anything, so they take one of
    // the listing's descriptors instead of one more: at the lowest limit
    // the budget holds no more than that.
    const bool reopenParent = parent->fd < 0;
    const int need = 1 + (folder.roundTrips ? 0 : 2);
    ++parent->users; // the budget may not close it meanwhile
    if (!reserve(need + (reopenParent ? 1 : 0))) {
        --parent->users;
        return false;
    }
    if (reopenParent && !reopen(*parent))
        --inUse_; // a parent not opened holds nothing
    if (parent->fd < 0) {
        // Passed over, as the one-thread walk passes over what is left of
        // a folder that moved away.
        unreserve(need);
        --parent->users;
        --parent->unlisted;
        folder.gone = true;
        folder.state = FolderState::Listed;
        release(parent);
        return false;
    }
    folder.path = parent->path;
    folder.path += '/';
    folder.path += folder.name;
    folder.state = FolderState::Listing;
    claim = Claim{Claim::List, &folder, need};
    return true;
}

bool Walk::claimFiles(Folder &folder, Claim &claim)
{
    while (mask_ < masks_.size()) {
        const size_t size = folder.listing.files.empty() ? 0 : folder.listing.files[mask_].size();
        const bool trying = verbose_ && !tryingDone_ && !folder.gone;
        const size_t left = size - file_;
        if (!trying && left == 0) {
            ++mask_;
            file_ = 0;
            tryingDone_ = false;
            continue;
        }
        size_t count = left < claimFiles_ ? left : claimFiles_;
        if (count > 0) {
            // The folder itself first, when the budget closed it, and that
            // open's pieces.
            const bool reopenFolder = folder.fd < 0 && folder.identified;
            const int reopenNeed = reopenFolder ? 2 : 0;
            ++folder.users; // the budget may not close it meanwhile
            while (count > 0 && !reserve(static_cast<int>(count) + reopenNeed))
                count /= 2;
            --folder.users;
            if (count == 0)
                return false;
            if (reopenFolder) {
                const bool back = reopen(folder);
                inUse_ -= back ? 1 : 2;
                if (!back)
                    folder.identified = false; // moved away: its files cannot be opened
            }
        }
        claim = Claim{Claim::Files, &folder, static_cast<int>(count)};
        claim.slot = output_.OpenSlot();
        claim.mask = mask_;
        claim.trying = trying;
        claim.first = file_;
        claim.count = count;
        file_ += count;
        tryingDone_ = true;
        ++folder.users;
        return true;
    }
    advanceCursor();
    claim = Claim{Claim::Wait};
    return true;
}

Claim Walk::next(std::unique_lock<std::mutex> &held)
{
    for (;;) {
        if (output_.Failed() || cursor_ == folders_.end())
            return Claim{Claim::Done};
        Folder &current = *cursor_;
        Claim claim;
        if (current.state == FolderState::Listed) {
            if (!output_.HasRoom()) {
                output_.Wait(held);
                continue;
            }
            if (claimFiles(current, claim)) {
                if (claim.kind == Claim::Wait)
                    continue; // the cursor moved on
                return claim;
            }
        } else if (Folder *ahead = listableAhead()) {
            if (claimListing(*ahead, claim))
                return claim;
            if (ahead->state == FolderState::Listed)
                continue; // passed over
        }
        output_.Wait(held);
    }
}

void Walk::listFolder(Worker &worker, Claim &claim)
{
    Folder &folder = *claim.folder;
    int fd = folder.fd;
    if (folder.parent != nullptr)
        fd = openat(folder.parent->fd, folder.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    // A path that does not survive wide text lists the files of the
    // folder its changed path names, if any; its subfolders are its own.
    int listFd = fd;
    std::string changed;
    if (fd >= 0 && !folder.roundTrips && !RoundTrips(folder.path.c_str(), &changed))
        listFd = changed.empty() ? -1 : OpenLongPath(AT_FDCWD, changed, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    char *buffer = worker.searcher.buffer.get();
    const bool folders = subfolders_ && fd >= 0;
    ReadFolder(listFd, masks_, true, folders && listFd == fd, buffer, kChunkSize, &folder.listing);
    if (listFd != fd) {
        if (listFd >= 0)
            close(listFd);
        FolderListing own;
        ReadFolder(fd, {}, false, folders, buffer, kChunkSize, &own);
        folder.listing.folders.swap(own.folders);
        folder.listing.foldersRoundTrip.swap(own.foldersRoundTrip);
    }
    folder.fd = fd; // registered as open under the lock, in finish
    // The subfolders' places in the list are made here, outside the lock;
    // they join the walk's list in one step.
    FolderListing &listing = folder.listing;
    for (size_t i = 0; i < listing.folders.size(); ++i) {
        Folder &sub = claim.subfolders.emplace_back();
        sub.self = std::prev(claim.subfolders.end());
        sub.parent = &folder;
        sub.name.swap(listing.folders[i]);
        sub.roundTrips = folder.roundTrips && listing.foldersRoundTrip[i];
    }
    std::vector<std::string>().swap(listing.folders);
    std::vector<bool>().swap(listing.foldersRoundTrip);
}

void Walk::searchFiles(Worker &worker, Claim &claim)
{
    Folder &folder = *claim.folder;
    OutputSink &out = worker.sink;
    out.Enter(claim.slot);
    const std::vector<std::string> &names = folder.listing.files[claim.mask];
    if (claim.trying)
        ReportTrying(out, folder.path.c_str(), static_cast<int>(names.size()));
    int fds[kClaimFiles];
    for (size_t i = 0; i < claim.count; ++i) {
        // The first file is read at once; telling the kernel of the others
        // keeps reads in flight while it is searched. Where the names are
        // all in the cache, so are the bytes, as a rule, and the hint would
        // only cost time.
        CacheProbe &probe = worker.probe;
        probe.cached = true;
        fds[i] =
            folder.fd < 0 ? -1 : OpenFileAt(folder.fd, names[claim.first + i].c_str(), hintReads_ ? &probe : nullptr);
        claim.uncached = claim.uncached || !probe.cached;
        if (!probe.cached && i > 0 && fds[i] >= 0)
            posix_fadvise(fds[i], 0, 0, POSIX_FADV_WILLNEED);
    }
    std::string path;
    for (size_t i = 0; i < claim.count; ++i) {
        path = folder.path;
        path += '/';
        path += names[claim.first + i];
        if (verbose_)
            ReportFileName(out, path.c_str());
        claim.numbers[i] = ScanOpenFile(worker.searcher, fds[i], path.c_str());
        out.EndFile();
    }
}

void Walk::finish(std::unique_lock<std::mutex> &held, Worker &worker, Claim &claim)
{
    Folder &folder = *claim.folder;
    if (claim.kind == Claim::Files) {
        if (claim.uncached && growing_ && static_cast<int>(workers_.size()) < threadLimit_)
            startThread();
        for (size_t i = 0; i < claim.count; ++i)
            run_.counters.Add(claim.numbers[i]);
        unreserve(claim.reserved); // each file was closed by its search
        --folder.users;
        release(&folder, &worker.letGo);
        output_.CloseSlot(held, claim.slot);
        return;
    }
    folder.state = FolderState::Listed;
    if (folder.parent != nullptr) {
        const int fd = folder.fd;
        folder.fd = -1;
        if (fd >= 0) {
            opened(folder, fd);
            --claim.reserved; // now held as the folder's
        }
        --folder.parent->users;
        --folder.parent->unlisted;
    }
    // Subfolders go right after it, so the list stays in walk order.
    folder.unlisted = folder.inList = claim.subfolders.size();
    folders_.splice(std::next(folder.self), claim.subfolders);
    unreserve(claim.reserved);
    release(folder.parent, &worker.letGo);
    output_.Notify(); // there is work behind it now
}

void Walk::work(Worker &worker)
{
    std::unique_lock<std::mutex> held(output_.Lock(), std::defer_lock);
    output_.Take(held);
    for (;;) {
        Claim claim = next(held);
        if (claim.kind == Claim::Done)
            break;
        held.unlock();
        worker.letGo.clear();
        if (claim.kind == Claim::List)
            listFolder(worker, claim);
        else
            searchFiles(worker, claim);
        if (claim.kind == Claim::Files)
            worker.sink.Leave(); // its last bytes, handed over before the lock is taken
        output_.Take(held);
        finish(held, worker, claim);
    }
    output_.Notify();
    held.unlock();
    worker.letGo.clear();
}

bool Walk::startThread()
{
    // What a thread costs must leave room for the rest of the run's memory:
    // under a limit on the address space, the threads stop there.
    void *spare = std::malloc(kSpareMemory);
    if (spare == nullptr)
        return false;
    const bool started = startThreadWithin();
    std::free(spare);
    return started;
}

bool Walk::startThreadWithin()
{
    auto worker = std::unique_ptr<Worker>(new (std::nothrow) Worker(run_));
    if (!worker || !worker->searcher.buffer || !worker->sink.Reserve())
        return false;
    workers_.push_back(std::move(worker));
    output_.SetSpinning(workers_.size() > 1 && static_cast<int>(workers_.size()) <= cpus_);
    if (workers_.size() == 1)
        return true; // the calling thread's
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kThreadStack);
    pthread_t thread;
    const bool started = pthread_create(&thread, &attributes, threadMain, this) == 0;
    pthread_attr_destroy(&attributes);
    if (!started) {
        workers_.pop_back();
        output_.SetSpinning(workers_.size() > 1 && static_cast<int>(workers_.size()) <= cpus_);
        return false;
    }
    started_.push_back(thread);
    return true;
}

void *Walk::threadMain(void *walk)
{
    auto *self = static_cast<Walk *>(walk);
    Worker *worker;
    {
        // The workers are taken in the order they were made; which one a
        // thread gets does not matter.
        std::lock_guard<std::mutex> held(self->output_.Lock());
        worker = self->workers_[self->taken_++].get();
    }
    self->work(*worker);
    return nullptr;
}

void Walk::Run()
{
    // A thread whose memory cannot be had, or that cannot be started, is
    // done without; the calling thread's tools come first.
    Worker *own = nullptr;
    {
        std::lock_guard<std::mutex> held(output_.Lock());
        for (int i = 0; i < threads_ && startThread(); ++i) {
        }
        taken_ = 1;
        own = workers_.empty() ? nullptr : workers_.front().get(); // the list may grow once the lock is let go
    }
    if (own != nullptr)
        work(*own);
    std::vector<pthread_t> started;
    {
        std::lock_guard<std::mutex> held(output_.Lock());
        growing_ = false;
        started = started_;
    }
    for (pthread_t thread : started)
        pthread_join(thread, nullptr);
}

} // namespace

int FreeDescriptors()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur > (1 << 20))
        limit.rlim_cur = 1 << 20;
    // Count what is open now: the standard three and whatever the caller
    // left us.
    int open = 0;
    const int probe = openat(AT_FDCWD, "/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (probe < 0) {
        open = 3;
    } else {
        char buffer[4096];
        for (;;) {
            const ssize_t got = getdents64(probe, buffer, sizeof buffer);
            if (got <= 0)
                break;
            for (ssize_t at = 0; at < got;) {
                const auto *entry = reinterpret_cast<const dirent64 *>(buffer + at);
                at += entry->d_reclen;
                open += entry->d_name[0] != '.';
            }
        }
        close(probe);
        --open; // the probe itself
    }
    return static_cast<int>(limit.rlim_cur) - open;
}

void RunWalk(SearchRun &run, const WalkStart &start)
{
    // One descriptor is kept spare: a folder's way back to its parent
    // through ".." opens the parent before it closes the folder.
    const int budget = FreeDescriptors() - 1;
    // Each thread needs room for its claims.
    int threads = run.threads < 1 ? 1 : run.threads;
    if (threads > budget / kWalkDescriptors)
        threads = budget / kWalkDescriptors > 1 ? budget / kWalkDescriptors : 1;
    // The threads allocate little (a folder's names, a claim's slot), and
    // an allocation arena per thread reserves address space that a limit
    // on it (ulimit -v) then lacks for whatever comes after: one arena.
    if (threads > 1)
        mallopt(M_ARENA_MAX, 1);
    Walk walk(run, start, threads, budget);
    walk.Run();
}
