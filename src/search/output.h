// Ordered output: what the tool prints reaches standard output in the order
// of a one-thread run, whichever thread searched a file.
//
// The output is cut into slots, opened one after the other by the folder
// walk: a file's slot holds everything printed while it is searched, a
// message slot one line of the walk. The slot at the head of the order
// writes straight to standard output; slots behind it keep their bytes in
// memory, about 1 MiB in all, and a thread that would keep more waits until
// its slot comes to the head. Without ordered mode (one CPU, and before and
// after the search) everything goes straight to standard output.
#pragma once

#include <cstddef>
#include <cstdint>

struct OutputSlot;

// Writes bytes[0..len) to the calling thread's slot, or straight to standard
// output when it has none. A thread without a slot (the walk) in ordered
// mode gets a slot of its own for this one write: pass a whole message.
void OutputWrite(const char *bytes, size_t len);

// Ordered mode on: from now on the walk's writes keep their place behind the
// files handed out. Call it before any searching thread starts.
void OutputBeginOrdered();

// Appends a file's slot to the order, waiting while too many slots are
// still unwritten (so that open files and kept bytes stay bounded). Walk
// thread only, in ordered mode.
OutputSlot *OutputOpenFileSlot();

// Slots that may be unwritten at once (each file slot holds an open file).
constexpr size_t kOutputSlotLimit = 64;

// How many slots are open or waiting to be written; OutputOpenFileSlot
// waits while they are at kOutputSlotLimit. Walk thread, in ordered mode.
size_t OutputSlotsInUse();

// Makes slot the calling thread's slot, or (null) gives it none again.
void OutputEnterSlot(OutputSlot *slot);

// Ends the calling thread's slot; number is the file's result, added to the
// run counters when the slot's turn comes. The thread has no slot after it.
void OutputCloseSlot(int64_t number);

// Waits until every slot is written, then leaves ordered mode. Walk thread,
// after every searching thread has ended.
void OutputEndOrdered();

// Adds one searched file's number to the run counters, in the order of the
// files: the number counts the file among the files with an occurrence
// when it is above 0.
void CountFile(int64_t number);
