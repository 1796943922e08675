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

// What was heard or recorded from the first sound on, compared to an original that may come again
// and again. Of it a machine that stalls may lose cycles: in their place there is silence, and what
// is not heard is over, so that the sound goes on where it would be without them.
struct Heard {
    Heard(const Channels& sound, const Channels& original);

    std::size_t first = 0;       // the first frame with sound on both sides, or behind a ramp
    std::size_t phase = 0;       // where in the original that is
    std::size_t exact = 0;       // from there on, frames equal to it bit for bit, in its order
    std::size_t longest = 0;     // of these at once, without any loss
    std::size_t silent = 0;      // frames between them
    std::size_t skipped = 0;     // frames of the original that are not among them
    std::size_t end = 0;         // behind the last of them
    std::size_t silentAgain = 0; // after it, all is silence
};

// What a feeder sends.
const Channels& allMarks();

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
    // Starts another program with the same home, which does not open a window but may pass a file
    // on; returns its lines and what it returned.
    std::string startAnother(const std::string& bus, const std::string& file = {}) const;
    std::int64_t played() const { return feeder_->frames(); }
    std::int64_t listened() const { return listener_->frames() - heardFrom_; }
    void play(double seconds); // returns when the microphone has heard that much more

    // Records by two presses of Return and returns when the take plays.
    void recordLoop(double seconds);
    void beginTake(); // by one press
    void endTake();   // by Space, which does not play it

    std::filesystem::path documents() const { return home_ / "Documents"; }
    std::filesystem::path newestTake() const;
    std::size_t takes() const;
    Channels sound() const; // what was heard
    // It is what the microphone heard, bit for bit, but for what it lost itself, and what the
    // program has told that the take lost.
    testing::AssertionResult isPlayed(const Channels& take) const;
    // Waits until so many passes of the loop were heard bit for bit, but for what the program has
    // told that was lost, two seconds of them without any loss. The loop keeps the time of the
    // graph's clock.
    testing::AssertionResult hears(const Channels& loop, double passes) const;
    // Whether anybody reads what the program tells; otherwise it loses whole cycles.
    bool isTold = true;

    PrivatePipeWire& server() { return server_; }

private:
    std::size_t framesTold(const std::string& what, const std::string& since) const;

    std::optional<VirtualDisplay> display_{std::in_place};
    TemporaryFolder home_;
    PrivatePipeWire server_{{"--quantum", std::to_string(kQuantum)}};
    std::optional<GraphProbe> feeder_;
    std::optional<GraphProbe> listener_;
    std::int64_t heardFrom_ = 0; // the first frame of the listener's that counts

public:
    std::optional<AppProcess> app; // ends first
};

} // namespace tessivo::test
