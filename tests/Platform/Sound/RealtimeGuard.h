#pragma once

// Watches what a thread does in the audio callback. Allocations and locks are counted by
// functions that replace the C library's; system calls by the kernel, which reports each of them
// (x86-64) before it is carried out.
namespace tessivo::test::realtime {

struct Violations {
    int allocations = 0;
    int locks = 0;
    int systemCalls = 0;     // except wakeUps
    int wakeUps = 0;         // writes of 8 bytes, as to an eventfd
    int lastSystemCall = -1; // number of the last one except wakeUps

    Violations& operator+=(const Violations& more);
};

// Has the kernel report the calling thread's system calls; false if it does not support that.
// Once for each thread.
bool watchSystemCalls();

// Counting is on between begin() and end(), on the calling thread, and goes on from there.
void begin(const Violations& before = {});
Violations end();

} // namespace tessivo::test::realtime
