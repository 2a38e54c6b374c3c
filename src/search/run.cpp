// The run's thread count, and the CPUs it may use.
#include "run.h"

#include <sched.h>

namespace {

// More threads than this gain nothing on the trees measured: the walk's
// one lock becomes the limit first.
constexpr int kMaxSearchThreads = 16;

} // namespace

int AllowedCpus()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return 1;
    const int count = CPU_COUNT(&allowed);
    return count < 1 ? 1 : count;
}

int SearchThreadCount()
{
    const int count = AllowedCpus();
    return count > kMaxSearchThreads ? kMaxSearchThreads : count;
}
