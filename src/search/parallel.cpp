// Parallel search.
//
// The walk thread opens each file itself, in the walk's order, so that a
// file's fate (opened or not) is decided as in a one-thread run and the
// folder's descriptor need not outlive the walk's visit; the searching
// threads get the open descriptor and the path. Jobs go through one queue
// in the walk's order; its length is bounded by the output's slot limit,
// since every job holds a slot. Everything a job shares with other threads
// is read-only during the search: the option flags and the prepared pattern;
// each thread has its own window buffers and match counts.
#include "parallel.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <sched.h>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "fyndle.h"
#include "output.h"
#include "report.h"
#include "scanner.h"

namespace {

// More threads than this gain nothing: the walk and the ordered output,
// both one thread's work, become the limit first.
constexpr int kMaxSearchThreads = 16;

// A searching thread that found no job sleeps until the walk has queued
// kWakeBatch jobs, or holds half of the output's slots, or ends: waking a
// thread costs about as much as searching a small file, so a wake per file
// cost more than the second thread gained. The sleep is also cut short
// every kNapTime, since the walk may fill the slots with its own messages
// (as -v does over empty folders) while a queued job is the oldest slot:
// then only a searching thread can free them.
constexpr size_t kWakeBatch = 32;
constexpr size_t kWakeSlots = kOutputSlotLimit / 2;
constexpr std::chrono::milliseconds kNapTime{2};

struct Job {
    int fd;           // the open file, or -1 when it could not be opened
    std::string path; // full path as printed
    OutputSlot *slot; // where its output goes
};

std::mutex s_queueLock;
std::condition_variable s_queueChanged;
std::deque<Job> s_jobs; // jobs not yet taken, in the walk's order
bool s_ending = false;  // no more jobs will come
int s_idle = 0;         // searching threads asleep, waiting for jobs
std::vector<std::thread> s_threads;

void searchJobs()
{
    for (;;) {
        Job job;
        {
            std::unique_lock<std::mutex> held(s_queueLock);
            while (s_jobs.empty() && !s_ending) {
                ++s_idle;
                s_queueChanged.wait_for(held, kNapTime);
                --s_idle;
            }
            if (s_jobs.empty())
                return;
            job = std::move(s_jobs.front());
            s_jobs.pop_front();
        }
        OutputEnterSlot(job.slot);
        OutputCloseSlot(ScanOpenFile(job.fd, job.path.c_str()));
    }
}

} // namespace

int SearchThreadCount()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return 1;
    const int count = CPU_COUNT(&allowed);
    return count < 1 ? 1 : count > kMaxSearchThreads ? kMaxSearchThreads : count;
}

void BeginSearch()
{
    const int count = SearchThreadCount();
    if (count < 2)
        return;
    s_ending = false;
    // The walk keeps one CPU busy: listing, opening and handing over files
    // cost about as much as searching them, and a searching thread beside
    // it on every CPU only made them take turns. Threads that cannot be
    // started are done without: with none, the walk searches every file
    // itself.
    try {
        for (int i = 0; i < count - 1; ++i)
            s_threads.emplace_back(searchJobs);
    } catch (const std::system_error &) {
    }
    if (!s_threads.empty())
        OutputBeginOrdered();
}

void SearchFile(int dirFd, const char *name, const char *path)
{
    if (g_fVerbose)
        ReportFileName(path);
    const int fd = OpenFileAt(dirFd, name);
    if (s_threads.empty()) {
        const int64_t number = ScanOpenFile(fd, path);
        fflush(stdout);
        CountFile(number);
        return;
    }
    OutputSlot *slot = OutputOpenFileSlot();
    const bool slotsFilling = OutputSlotsInUse() >= kWakeSlots;
    bool wake;
    {
        std::lock_guard<std::mutex> held(s_queueLock);
        s_jobs.push_back(Job{fd, path, slot});
        wake = s_idle > 0 && (s_jobs.size() >= kWakeBatch || slotsFilling);
    }
    if (wake)
        s_queueChanged.notify_all();
}

void EndSearch()
{
    if (s_threads.empty())
        return;
    {
        std::lock_guard<std::mutex> held(s_queueLock);
        s_ending = true;
    }
    s_queueChanged.notify_all();
    for (std::thread &thread : s_threads)
        thread.join();
    s_threads.clear();
    OutputEndOrdered();
}
