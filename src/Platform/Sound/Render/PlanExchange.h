#pragma once

#include "Platform/Realtime/Realtime.h"
#include "Platform/Sound/Render/RenderPlan.h"

#include <atomic>
#include <memory>
#include <vector>

namespace tessivo::sound {

// Hands render plans from the main thread to the audio callback without either waiting for
// the other. The callback says which plan it is in; the main thread frees an old plan only when
// the callback is not in it.
class PlanExchange {
public:
    // Main thread. The callback follows this plan from its next cycle.
    void replace(std::unique_ptr<RenderPlan> plan);

    // Main thread. Returns once the callback is in no older plan: after one cycle's work at
    // the most, which is far below a millisecond.
    void waitForCallback() const;

    // Audio callback, at the beginning and the end of each cycle, after the first replace().
    RenderPlan& enter() TESSIVO_REALTIME;
    void leave() TESSIVO_REALTIME { inUse_.store(nullptr); }

private:
    std::atomic<RenderPlan*> live_{nullptr};  // main -> callback
    std::atomic<RenderPlan*> inUse_{nullptr}; // callback -> main

    // Main thread.
    std::unique_ptr<RenderPlan> plan_;
    std::vector<std::unique_ptr<RenderPlan>> retired_;
};

} // namespace tessivo::sound
