// Ordered output: what the tool prints reaches standard output in the order
// of a one-thread run, whichever thread searched a file.
//
// The search is handed out in claims (a folder's message, a few files of
// it), and each claim writes into a slot of its own; slots are opened in
// the walk's order. The slot at the head of the order writes straight to
// standard output; slots behind it keep their bytes in memory, about 1 MiB
// in all, and a thread that would keep more waits until its slot comes to
// the head. Outside a slot (before and after the search) everything goes
// straight to standard output.
//
// Standard output is written by one thread at a time: the owner of the
// head slot, or the thread that retires the slots after it. When a write
// fails, the output says so (Failed) and drops everything after it: the
// walk then stops handing out work.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

struct OutputSlot;

class OrderedOutput {
public:
    OrderedOutput() = default;
    OrderedOutput(const OrderedOutput &) = delete;
    OrderedOutput &operator=(const OrderedOutput &) = delete;
    ~OrderedOutput();

    // The run's one lock: the walk hands out work under it too, so that a
    // claim and its slot are ordered together.
    std::mutex &Lock() { return lock_; }
    // Takes it, trying a while before sleeping on it: it is held for a few
    // hundred instructions at a time, and a sleep costs far more, since
    // the wake must wait for the sleeper's CPU, idle by then, to come back
    // (milliseconds on a virtual machine).
    void Take(std::unique_lock<std::mutex> &held);

    // Waits under the lock until something changes: a slot retired, kept
    // bytes written, or the walk's Notify. It watches for the change
    // without the lock for up to a millisecond before it sleeps. It may
    // return with nothing changed: callers look again.
    void Wait(std::unique_lock<std::mutex> &held);
    // Tells the waiters that something changed, waking those that sleep.
    // Lock held.
    void Notify();
    // Whether a thread that must wait may watch (spin) before it sleeps:
    // only while there are no more threads than CPUs, where a watching
    // thread takes no CPU from one with work.
    void SetSpinning(bool spinning) { spinning_.store(spinning, std::memory_order_relaxed); }

    // Whether a slot may be opened: fewer than kSlotLimit are unwritten,
    // so that slots stay bounded behind a slow head. Lock held.
    bool HasRoom() const { return order_.size() < kSlotLimit; }
    // Appends a new slot to the order; check HasRoom first. Lock held.
    OutputSlot *OpenSlot();

    // Ends a slot whose thread wrote everything; at the head it retires it
    // and the closed slots behind it. Lock held (released while writing).
    void CloseSlot(std::unique_lock<std::mutex> &held, OutputSlot *slot);

    // A write to standard output failed: nothing more is written.
    bool Failed() const { return failed_.load(std::memory_order_relaxed); }
    // The errno of the first failed write, or 0.
    int Error() const { return error_; }
    // The failure flag itself, for a search to poll while it reads.
    const std::atomic<bool> &FailedFlag() const { return failed_; }

    // Writes bytes straight to standard output, or flushes it; the owner
    // of standard output only.
    void WriteOut(const char *bytes, size_t len);
    void FlushOut();

    static constexpr size_t kSlotLimit = 256; // slots unwritten at once, at most

private:
    friend class OutputSink;
    void commit(OutputSlot *slot, const char *bytes, size_t len);
    void retire(std::unique_lock<std::mutex> &held);
    bool isDirect(const OutputSlot *slot) const { return direct_.load(std::memory_order_acquire) == slot; }
    void fail();

    std::mutex lock_;
    std::condition_variable changed_;
    int waiting_ = 0;                    // threads asleep in Wait
    std::atomic<uint64_t> changes_{0};   // Notify calls so far: what a watching thread watches
    std::atomic<bool> spinning_{false};  // waiters watch before they sleep
    std::deque<OutputSlot *> order_;     // unretired slots, head first
    std::atomic<OutputSlot *> direct_{}; // the head slot, once its kept bytes are written
    bool flushing_ = false;              // a thread is retiring slots
    size_t kept_ = 0;                    // bytes of the kept pieces, counted by capacity
    std::atomic<bool> failed_{false};    // a write to standard output failed
    int error_ = 0;                      // its errno
};

// One thread's way to the output: the slot of its claim, and the bytes it
// gathers before handing them over. Never shared between threads.
class OutputSink {
public:
    explicit OutputSink(OrderedOutput &output) : output_(output) {}
    OutputSink(const OutputSink &) = delete;
    OutputSink &operator=(const OutputSink &) = delete;

    // Makes room for what it gathers; false when the memory cannot be had.
    bool Reserve();

    // Writes bytes[0..len) to the slot, or straight out when there is none.
    void Write(const char *bytes, size_t len);

    // The end of one file's output: what the file wrote is flushed to
    // standard output as soon as its turn has come, so that a run that is
    // killed keeps the files before.
    void EndFile();

    // Takes slot for the writes that follow.
    void Enter(OutputSlot *slot) { slot_ = slot; }
    // Hands over what is gathered and gives the slot back, for CloseSlot.
    OutputSlot *Leave();

private:
    void commit();

    OrderedOutput &output_;
    OutputSlot *slot_ = nullptr; // the claim's slot, or null: straight out
    std::string staging_;        // bytes gathered behind the head
};
