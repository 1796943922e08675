#pragma once

namespace tessivo {

// Looks whether the session bus answers, for a second at most. The toolkit asks it for the tools of
// accessibility and for the desktop's settings before it shows a window, and waits half a minute
// for each answer: a bus that hangs is taken from the environment, and this run goes on without
// screen readers and without the desktop, which a line tells. Before other threads run.
void leaveOutHungSessionBus();

} // namespace tessivo
