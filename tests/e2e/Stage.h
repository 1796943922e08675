#pragma once

#include "support/AppProcess.h"
#include "support/GraphProbe.h"
#include "support/OfflineRig.h"
#include "support/PrivatePipeWire.h"
#include "support/ScreenReader.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace tessivo::test {

constexpr double kRate = 48000.0;
// A cycle long enough that a busy machine does not miss it.
constexpr std::size_t kQuantum = 1024;
constexpr std::size_t kRampFrames = 144; // 3 ms

// Frames from the start of which every channel has the consecutive marks of its own.
std::size_t markedFrames(const Channels& samples);

// All of it is what a microphone heard, but for that many frames, in whose place there is silence:
// those of cycles that a busy machine has lost, as the program has told of the take.
testing::AssertionResult isMarked(const Channels& samples, std::int64_t lost = 0);
std::int64_t framesLost(const std::vector<std::string>& lines);

// What the speaker put out from the first sound on, compared to a loop.
struct Heard {
    Heard(const Channels& sound, const Channels& loop);

    std::size_t first = 0;       // the first frame with sound on both sides, or behind a ramp
    std::size_t phase = 0;       // where in the loop that is
    std::size_t exact = 0;       // from there on, frames equal to the loop bit for bit
    std::size_t silentAgain = 0; // after it, all is silence
};

// A player with an instrument: display, sound server, the application, a microphone that hears
// marks and ears at the speaker.
class Stage {
public:
    void start(const std::vector<std::string>& wrapper = {});
    // Plays marks into the microphone.
    void feed();
    void listen();      // from now on
    void leaveServer(); // before it goes away
    void loseDisplay() { display_.reset(); }
    // Starts another program with the same home, which does not open a window; returns its lines
    // and what it returned.
    std::string startAnother(const std::string& bus) const;
    std::int64_t played() const { return feeder_->frames(); }
    std::int64_t listened() const { return listener_->frames(); }
    void play(double seconds); // returns when the microphone has heard that much more

    // Records by two presses of Return and returns when the take plays.
    void recordLoop(double seconds);
    void beginTake(); // by one press
    void endTake();   // by Space, which does not play it

    std::filesystem::path documents() const { return home_ / "Documents"; }
    std::filesystem::path newestTake() const;
    std::size_t takes() const;
    Channels sound() const; // what was heard
    // Waits until so many passes of the loop were heard bit for bit.
    testing::AssertionResult hears(const Channels& loop, double passes) const;

    PrivatePipeWire& server() { return server_; }

private:
    std::optional<VirtualDisplay> display_{std::in_place};
    TemporaryFolder home_;
    PrivatePipeWire server_{{"--quantum", std::to_string(kQuantum)}};
    std::optional<GraphProbe> feeder_;
    std::optional<GraphProbe> listener_;

public:
    std::optional<AppProcess> app; // ends first
};

} // namespace tessivo::test
