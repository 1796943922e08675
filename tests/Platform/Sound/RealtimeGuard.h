#pragma once

// Watches what one thread does while it plays the part of the audio callback: allocations and
// locks are counted by standing in for the C library's functions, system calls by a filter in
// the kernel.
namespace tessivo::test::realtime {

struct Violations {
    int allocations = 0;
    int locks = 0;
    int systemCalls = 0;
    int lastSystemCall = -1;
};

// Installs the system call filter on the calling thread, for good; false if the kernel
// refuses it.
bool watchSystemCalls();

// Counting is on between begin() and end(), on the calling thread.
void begin();
Violations end();

} // namespace tessivo::test::realtime
