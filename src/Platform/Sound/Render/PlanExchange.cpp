#include "Platform/Sound/Render/PlanExchange.h"

#include <chrono>
#include <thread>
#include <utility>

namespace tessivo::sound {

void PlanExchange::replace(std::unique_ptr<RenderPlan> plan) {
    live_.store(plan.get());
    if (plan_) {
        retired_.push_back(std::move(plan_));
    }
    plan_ = std::move(plan);
    const RenderPlan* inUse = inUse_.load();
    std::erase_if(retired_, [&](const auto& old) { return old.get() != inUse; });
}

void PlanExchange::waitForCallback() const {
    for (const RenderPlan* plan = inUse_.load(); plan != nullptr && plan != plan_.get();
         plan = inUse_.load()) {
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

RenderPlan& PlanExchange::enter() TESSIVO_REALTIME {
    // The plan may be replaced and freed before inUse_ names it. One that is still live after
    // inUse_ names it cannot be freed before leave().
    RenderPlan* plan = live_.load();
    for (;;) {
        inUse_.store(plan);
        RenderPlan* again = live_.load();
        if (again == plan) {
            return *plan;
        }
        plan = again;
    }
}

} // namespace tessivo::sound
