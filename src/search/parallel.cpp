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

struct Job {
    int fd;           // the open file, or -1 when it could not be opened
    std::string path; // full path as printed
    OutputSlot *slot; // where its output goes
};

std::mutex s_queueLock;
std::condition_variable s_queueChanged;
std::deque<Job> s_jobs; // jobs not yet taken, in the walk's order
bool s_ending = false;  // no more jobs will come
std::vector<std::thread> s_threads;

void searchJobs()
{
    for (;;) {
        Job job;
        {
            std::unique_lock<std::mutex> held(s_queueLock);
            s_queueChanged.wait(held, [] { return !s_jobs.empty() || s_ending; });
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
    // Threads that cannot be started are done without: with none, the walk
    // searches every file itself.
    try {
        for (int i = 0; i < count; ++i)
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
    {
        std::lock_guard<std::mutex> held(s_queueLock);
        s_jobs.push_back(Job{fd, path, slot});
    }
    s_queueChanged.notify_one();
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
