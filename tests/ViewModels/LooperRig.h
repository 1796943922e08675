#pragma once

#include "ViewModels/SimpleLooperViewModel.h"

#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tessivo::test {

// The controller over an offline device, in a home of its own.
struct LooperRig {
    explicit LooperRig(const std::string& startFailure = {}) { start(startFailure); }

    // Again in place of the one before.
    void start(const std::string& startFailure = {}) {
        auto owned = std::make_unique<sound::OfflineDevice>(formats(2));
        device = owned.get();
        device->failToStart(startFailure);
        looper = std::make_unique<SimpleLooperViewModel>(std::move(owned));
        state = looper->loopState();
    }

    void record() { press(&SimpleLooperViewModel::recordButtonPressed); }
    void play() { press(&SimpleLooperViewModel::playButtonPressed); }
    void stop() { press(&SimpleLooperViewModel::stopButtonPressed); }
    void clear() { press(&SimpleLooperViewModel::clearButtonPressed); }
    // Returns when the disk has answered.
    void press(void (SimpleLooperViewModel::*command)()) {
        (looper.get()->*command)();
        settle();
    }

    void feed(const Channels& input) const {
        device->turn(static_cast<std::uint32_t>(input.front().size()), input);
    }
    void makeTake() {
        record();
        feed(Channels(2, noise(2000, 1)));
        stop();
        transportLines();
    }
    bool becomes(TransportState transport) const {
        return runUntil([&] { return state->transportState() == transport; });
    }

    // The lines but those of the engine and the recorder.
    Lines transportLines() {
        Lines all = lines.take();
        std::erase_if(all, [](const std::string& line) {
            return line.find(" [RECORDER") != line.npos || line.find(" [ENGINE]") != line.npos;
        });
        return all;
    }

    // Play fails, says so in one line, and changes nothing.
    void expectPlayFails() {
        play();
        const Lines failure = lines.take();
        ASSERT_EQ(failure.size(), 1U);
        EXPECT_EQ(failure[0].rfind("Failed to start playback: ", 0), 0U) << failure[0];
        EXPECT_TRUE(state->canPlay());
    }

    TemporaryHome home;
    CapturedLines lines;
    sound::OfflineDevice* device = nullptr;
    std::unique_ptr<SimpleLooperViewModel> looper;
    SimpleLoopState* state = nullptr;
};

} // namespace tessivo::test
