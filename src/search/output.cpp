// Ordered output.
//
// Slots form a queue in the order the walk opened them. At any time at most
// one thread owns standard output: the thread of the slot named by `direct`
// (the head slot, whose kept bytes have all been written), or the thread
// that is retiring slots (`flushing`). That owner alone calls the stdio
// functions; the hand-over happens under the lock or through the atomic
// `direct`, so every stdio call of one thread is ordered before those of the
// next. A slot whose thread ends it while it is the head retires it and the
// slots behind it: writes their kept bytes, adds their numbers to the run
// counters, flushes standard output after each file as the one-thread run
// does, and stops at the first slot still being written, which becomes
// `direct`.
#include "output.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "fyndle.h"

struct OutputSlot {
    std::vector<std::string> kept; // bytes written while not at the head, in pieces
    int64_t number = 0;            // the file's result, once closed
    bool isFile = false;           // counted and flushed as a file when retired
    bool closed = false;           // its thread has written everything
};

namespace {

// Bytes that slots behind the head may keep in all, counted in pieces of
// a fixed size, so that what is allocated is what is counted.
constexpr size_t kKeptLimit = 1 << 20;
constexpr size_t kPieceSize = 16 << 10;
// Bytes a thread gathers before it hands them to its slot.
constexpr size_t kStagingLimit = 8 << 10; // below kPieceSize

std::mutex s_lock;
std::condition_variable s_changed; // a slot retired, kept bytes written, or direct moved
std::deque<OutputSlot *> s_order;  // unretired slots, head first
std::atomic<OutputSlot *> s_direct{nullptr};
bool s_flushing = false; // a thread is retiring slots
size_t s_kept = 0;       // sum of the kept pieces' sizes
bool s_ordered = false;  // read and written by the walk thread only

thread_local OutputSlot *t_slot = nullptr;
thread_local std::string t_staging;

void writeOut(const char *bytes, size_t len)
{
    fwrite_unlocked(bytes, 1, len, stdout);
}

// Called with the lock held by the thread that ended the head slot: writes
// and retires slots until one that is still being written.
void retire(std::unique_lock<std::mutex> &held)
{
    s_flushing = true;
    s_direct.store(nullptr, std::memory_order_relaxed);
    while (!s_order.empty()) {
        OutputSlot *head = s_order.front();
        if (!head->kept.empty()) {
            std::vector<std::string> pieces;
            pieces.swap(head->kept);
            held.unlock();
            size_t sizes = 0;
            for (const std::string &piece : pieces) {
                writeOut(piece.data(), piece.size());
                sizes += piece.capacity();
            }
            pieces.clear();
            held.lock();
            s_kept -= sizes;
            s_changed.notify_all();
            continue;
        }
        if (!head->closed) {
            s_direct.store(head, std::memory_order_release);
            break;
        }
        s_order.pop_front();
        const bool isFile = head->isFile;
        const int64_t number = head->number;
        delete head;
        if (isFile) {
            CountFile(number);
            held.unlock();
            fflush(stdout);
            held.lock();
        }
    }
    s_flushing = false;
    s_changed.notify_all();
}

OutputSlot *openSlot(bool isFile)
{
    auto *slot = new OutputSlot;
    slot->isFile = isFile;
    std::unique_lock<std::mutex> held(s_lock);
    s_changed.wait(held, [] { return s_order.size() < kOutputSlotLimit; });
    s_order.push_back(slot);
    if (s_order.size() == 1 && !s_flushing)
        s_direct.store(slot, std::memory_order_release);
    return slot;
}

// Hands bytes to slot: straight out at the head, else kept, waiting for
// room when the kept bytes are at their limit.
void commit(OutputSlot *slot, const char *bytes, size_t len)
{
    if (len == 0)
        return;
    if (s_direct.load(std::memory_order_acquire) == slot) {
        writeOut(bytes, len);
        return;
    }
    std::unique_lock<std::mutex> held(s_lock);
    for (;;) {
        if (s_direct.load(std::memory_order_relaxed) == slot) {
            held.unlock();
            writeOut(bytes, len);
            return;
        }
        if (!slot->kept.empty() && slot->kept.back().capacity() - slot->kept.back().size() >= len) {
            slot->kept.back().append(bytes, len);
            return;
        }
        if (s_kept == 0 || s_kept + kPieceSize <= kKeptLimit) {
            std::string &piece = slot->kept.emplace_back();
            piece.reserve(len > kPieceSize ? len : kPieceSize);
            piece.append(bytes, len);
            s_kept += piece.capacity();
            return;
        }
        s_changed.wait(held);
    }
}

void closeSlot(OutputSlot *slot, int64_t number)
{
    std::unique_lock<std::mutex> held(s_lock);
    slot->number = number;
    slot->closed = true;
    if (s_direct.load(std::memory_order_relaxed) == slot)
        retire(held);
}

} // namespace

void OutputWrite(const char *bytes, size_t len)
{
    OutputSlot *slot = t_slot;
    if (slot == nullptr) {
        if (!s_ordered) {
            writeOut(bytes, len);
            return;
        }
        OutputSlot *message = openSlot(false);
        commit(message, bytes, len);
        closeSlot(message, 0);
        return;
    }
    if (t_staging.empty() && s_direct.load(std::memory_order_acquire) == slot) {
        writeOut(bytes, len);
        return;
    }
    t_staging.append(bytes, len);
    if (t_staging.size() >= kStagingLimit) {
        commit(slot, t_staging.data(), t_staging.size());
        t_staging.clear();
    }
}

void OutputBeginOrdered()
{
    s_ordered = true;
}

OutputSlot *OutputOpenFileSlot()
{
    return openSlot(true);
}

size_t OutputSlotsInUse()
{
    std::lock_guard<std::mutex> held(s_lock);
    return s_order.size();
}

void OutputEnterSlot(OutputSlot *slot)
{
    t_slot = slot;
}

void OutputCloseSlot(int64_t number)
{
    OutputSlot *slot = t_slot;
    commit(slot, t_staging.data(), t_staging.size());
    t_staging.clear();
    t_slot = nullptr;
    closeSlot(slot, number);
}

void OutputEndOrdered()
{
    std::unique_lock<std::mutex> held(s_lock);
    s_changed.wait(held, [] { return s_order.empty() && !s_flushing; });
    s_ordered = false;
}

void CountFile(int64_t number)
{
    ++g_cFilesTried;
    if (number > 0)
        ++g_cFiles;
    g_cCount += number;
}
