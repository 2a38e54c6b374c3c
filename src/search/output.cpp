// Ordered output.
//
// Slots form a queue in the order they were opened. At any time at most one
// thread owns standard output: the thread of the slot named by `direct_`
// (the head slot, whose kept bytes have all been written), or the thread
// that is retiring slots (`flushing_`). That owner alone calls the stdio
// functions; the hand-over happens under the lock or through the atomic
// `direct_`, so every stdio call of one thread is ordered before those of
// the next. A thread that closes the head slot retires it and the slots
// behind it: writes their kept bytes and stops at the first slot still
// being written, which becomes `direct_`.
//
// Threads wait only for room (slots or kept bytes) and for the walk; a
// wake is sent only when somebody sleeps, since waking costs about as much
// as searching a small file, or far more where the sleeper's CPU went idle.
#include "output.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <new>
#include <vector>
#include <unistd.h>

struct OutputSlot {
    std::vector<std::string> kept; // bytes written while not at the head, in pieces
    bool closed = false;           // its thread has written everything
};

namespace {

// Bytes that slots behind the head may keep in all, counted in pieces of
// a fixed size, so that what is allocated is what is counted.
constexpr size_t kKeptLimit = 1 << 20;
constexpr size_t kPieceSize = 16 << 10;
// How long a thread tries the lock, and watches for a change, before it
// sleeps; and how many tries go between looks at the clock.
constexpr auto kTakeSpin = std::chrono::microseconds(200);
constexpr auto kWaitSpin = std::chrono::microseconds(1000);
constexpr int kClockEvery = 64;
// Blocks written to standard output this large or larger bypass the
// stream's buffer.
constexpr size_t kDirectWrite = 16 << 10;
// Bytes a thread gathers before it hands them to its slot.
constexpr size_t kStagingLimit = 8 << 10; // below kPieceSize

} // namespace

OrderedOutput::~OrderedOutput()
{
    for (OutputSlot *slot : order_)
        delete slot;
}

void OrderedOutput::fail()
{
    if (!failed_.load(std::memory_order_relaxed)) {
        error_ = errno != 0 ? errno : EIO;
        failed_.store(true, std::memory_order_relaxed);
    }
}

void OrderedOutput::WriteOut(const char *bytes, size_t len)
{
    if (Failed() || len == 0)
        return;
    errno = 0;
    // A large block (a batch of reports) goes out as it is, after what the
    // stream holds: copying it into the stream's buffer first costs more.
    if (len >= kDirectWrite) {
        if (fflush(stdout) != 0) {
            fail();
            return;
        }
        while (len > 0) {
            const ssize_t wrote = write(STDOUT_FILENO, bytes, len);
            if (wrote < 0 && errno == EINTR)
                continue;
            if (wrote <= 0) {
                fail();
                return;
            }
            bytes += wrote;
            len -= static_cast<size_t>(wrote);
        }
        return;
    }
    if (fwrite_unlocked(bytes, 1, len, stdout) != len)
        fail();
}

void OrderedOutput::FlushOut()
{
    if (Failed())
        return;
    errno = 0;
    if (fflush(stdout) != 0 || ferror(stdout))
        fail();
}

void OrderedOutput::Take(std::unique_lock<std::mutex> &held)
{
    if (held.try_lock())
        return;
    if (spinning_.load(std::memory_order_relaxed)) {
        const auto until = std::chrono::steady_clock::now() + kTakeSpin;
        for (int tries = 1;; ++tries) {
            __builtin_ia32_pause();
            if (held.try_lock())
                return;
            if (tries % kClockEvery == 0 && std::chrono::steady_clock::now() >= until)
                break;
        }
    }
    held.lock();
}

void OrderedOutput::Wait(std::unique_lock<std::mutex> &held)
{
    const uint64_t seen = changes_.load(std::memory_order_relaxed);
    if (spinning_.load(std::memory_order_relaxed)) {
        held.unlock();
        const auto until = std::chrono::steady_clock::now() + kWaitSpin;
        for (int tries = 1; changes_.load(std::memory_order_acquire) == seen; ++tries) {
            __builtin_ia32_pause();
            if (tries % kClockEvery == 0 && std::chrono::steady_clock::now() >= until)
                break;
        }
        Take(held);
        if (changes_.load(std::memory_order_relaxed) != seen)
            return;
    }
    ++waiting_;
    changed_.wait(held);
    --waiting_;
}

void OrderedOutput::Notify()
{
    changes_.store(changes_.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    if (waiting_ > 0)
        changed_.notify_all();
}

OutputSlot *OrderedOutput::OpenSlot()
{
    auto *slot = new OutputSlot;
    order_.push_back(slot);
    if (order_.size() == 1 && !flushing_)
        direct_.store(slot, std::memory_order_release);
    return slot;
}

void OrderedOutput::CloseSlot(std::unique_lock<std::mutex> &held, OutputSlot *slot)
{
    slot->closed = true;
    if (direct_.load(std::memory_order_relaxed) == slot)
        retire(held);
}

// Called with the lock held by the thread that ended the head slot: writes
// and retires slots until one that is still being written.
void OrderedOutput::retire(std::unique_lock<std::mutex> &held)
{
    flushing_ = true;
    direct_.store(nullptr, std::memory_order_relaxed);
    while (!order_.empty()) {
        OutputSlot *head = order_.front();
        if (!head->kept.empty()) {
            std::vector<std::string> pieces;
            pieces.swap(head->kept);
            held.unlock();
            size_t sizes = 0;
            for (const std::string &piece : pieces) {
                WriteOut(piece.data(), piece.size());
                sizes += piece.capacity();
            }
            // Kept bytes are whole files but for the last: flushed as the
            // head would have flushed them.
            FlushOut();
            pieces.clear();
            Take(held);
            kept_ -= sizes;
            Notify();
            continue;
        }
        if (!head->closed) {
            direct_.store(head, std::memory_order_release);
            break;
        }
        order_.pop_front();
        delete head;
    }
    flushing_ = false;
    // Room for slots, a new head that may be waiting for room for its
    // bytes, the end of the output: all for whoever waits.
    Notify();
}

// Hands bytes to slot: straight out at the head, else kept, waiting for
// room when the kept bytes are at their limit.
void OrderedOutput::commit(OutputSlot *slot, const char *bytes, size_t len)
{
    if (len == 0)
        return;
    if (isDirect(slot)) {
        WriteOut(bytes, len);
        return;
    }
    std::unique_lock<std::mutex> held(lock_, std::defer_lock);
    Take(held);
    for (;;) {
        if (direct_.load(std::memory_order_relaxed) == slot) {
            held.unlock();
            WriteOut(bytes, len);
            return;
        }
        if (Failed())
            return;
        if (!slot->kept.empty() && slot->kept.back().capacity() - slot->kept.back().size() >= len) {
            slot->kept.back().append(bytes, len);
            return;
        }
        if (kept_ == 0 || kept_ + kPieceSize <= kKeptLimit) {
            try {
                std::string piece;
                piece.reserve(len > kPieceSize ? len : kPieceSize);
                piece.append(bytes, len);
                slot->kept.push_back(std::move(piece));
                kept_ += slot->kept.back().capacity();
                return;
            } catch (const std::bad_alloc &) {
                // No memory to keep it in: it waits for its turn instead.
            }
        }
        Wait(held);
    }
}

bool OutputSink::Reserve()
{
    try {
        staging_.reserve(4 * kStagingLimit);
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

void OutputSink::Write(const char *bytes, size_t len)
{
    if (slot_ == nullptr || (staging_.empty() && output_.isDirect(slot_))) {
        output_.WriteOut(bytes, len);
        return;
    }
    staging_.append(bytes, len);
    if (staging_.size() >= kStagingLimit)
        commit();
}

void OutputSink::EndFile()
{
    if (slot_ != nullptr && !output_.isDirect(slot_))
        return; // its turn has not come: the thread that writes it out flushes
    commit();
    output_.FlushOut();
}

void OutputSink::commit()
{
    if (staging_.empty())
        return;
    output_.commit(slot_, staging_.data(), staging_.size());
    staging_.clear();
}

OutputSlot *OutputSink::Leave()
{
    commit();
    OutputSlot *slot = slot_;
    slot_ = nullptr;
    return slot;
}
