#include "e2e/Stage.h"

#include <algorithm>
#include <stdexcept>

namespace tessivo::test {

using namespace std::chrono_literals;

std::size_t markedFrames(const Channels& samples) {
    const std::size_t frames = samples.front().size();
    if (frames == 0 || !Mark::isExact(samples[0][0])) {
        return 0;
    }
    const std::int64_t first = Mark::frame(samples[0][0]);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        for (std::size_t channel = 0; channel < samples.size(); ++channel) {
            if (samples[channel][frame] !=
                Mark::sample(channel, first + static_cast<std::int64_t>(frame))) {
                return frame;
            }
        }
    }
    return frames;
}

testing::AssertionResult isMarked(const Channels& samples, std::int64_t lost) {
    Channels whole = samples;
    std::int64_t silent = 0;
    for (std::size_t frame = 1; samples.size() == 2 && frame < samples[0].size(); ++frame) {
        if (samples[0][frame] == 0.0F && samples[1][frame] == 0.0F) {
            const std::int64_t mark = Mark::frame(samples[0][0]) + static_cast<std::int64_t>(frame);
            whole[0][frame] = Mark::sample(0, mark);
            whole[1][frame] = Mark::sample(1, mark);
            ++silent;
        }
    }
    const std::size_t marked = markedFrames(whole);
    if (samples.size() == 2 && marked > 0 && marked == samples[0].size() && silent == lost) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << samples.size() << " channels, " << marked << " of " << samples.front().size()
           << " frames are as played, " << silent << " of them silent, " << lost << " told";
}

std::int64_t framesLost(const std::vector<std::string>& lines) {
    const std::string told = "The take has gaps: ";
    std::int64_t lost = 0;
    for (const std::string& line : lines) {
        if (const std::size_t at = line.find(told); at != std::string::npos) {
            lost += std::stoll(line.substr(at + told.size()));
        }
    }
    return lost;
}

Heard::Heard(const Channels& sound, const Channels& loop) {
    const std::size_t length = loop[0].size();
    const std::size_t frames = sound[0].size();
    // One ear may be linked a cycle before the other.
    while (first < frames && (sound[0][first] == 0.0F || sound[1][first] == 0.0F)) {
        ++first;
    }
    if (first == frames) {
        silentAgain = first;
        return;
    }
    const auto find = [&] {
        return static_cast<std::size_t>(std::find(loop[0].begin(), loop[0].end(), sound[0][first]) -
                                        loop[0].begin());
    };
    const std::size_t ramp = first + kRampFrames;
    for (phase = find(); phase == length && first < std::min(ramp, frames - 1); phase = find()) {
        ++first;
    }
    const auto equals = [&](std::size_t frame) {
        const std::size_t at = (phase + frame - first) % length;
        return sound[0][frame] == loop[0][at] && sound[1][frame] == loop[1][at];
    };
    while (first + exact < frames && equals(first + exact)) {
        ++exact;
    }
    silentAgain = frames;
    while (sound[0][silentAgain - 1] == 0.0F && sound[1][silentAgain - 1] == 0.0F) {
        --silentAgain;
    }
}

void Stage::start(const std::vector<std::string>& wrapper) {
    app.emplace(home_ / "", wrapper);
}

void Stage::feed() {
    feeder_.emplace("feeder", 2, 0);
    server_.link("feeder:out_0", "mic:input_FL");
    server_.link("feeder:out_1", "mic:input_FR");
    play(0.1);
}

void Stage::listen() {
    listener_.emplace("listener", 0, 2);
    server_.link("speaker:monitor_FL", "listener:in_0");
    server_.link("speaker:monitor_FR", "listener:in_1");
}

void Stage::leaveServer() {
    feeder_.reset();
    listener_.reset();
}

std::string Stage::startAnother(const std::string& bus) const {
    const std::string home = (home_ / "").string();
    return runProgram({"sh", "-c", R"(env HOME="$1" DBUS_SESSION_BUS_ADDRESS="$2" "$0"; echo $?)",
                       TESSIVO_PROGRAM, home, bus},
                      10s);
}

void Stage::play(double seconds) {
    const auto goal = played() + static_cast<std::int64_t>(seconds * kRate);
    if (!eventually([&] { return played() >= goal; }, 10s)) {
        throw std::runtime_error("the microphone's sound stands still");
    }
}

void Stage::beginTake() {
    app->press("Return");
    app->await("isRecording = true");
}

void Stage::endTake() {
    app->press("space");
    app->await("Final recording URL");
}

void Stage::recordLoop(double seconds) {
    beginTake();
    play(seconds);
    app->press("Return");
    app->await("Playback started with looping");
}

std::filesystem::path Stage::newestTake() const {
    std::filesystem::path newest;
    for (const auto& entry : std::filesystem::directory_iterator(documents() / "LooperFiles")) {
        if (entry.path().extension() == ".wav" &&
            (newest.empty() || entry.last_write_time() > last_write_time(newest))) {
            newest = entry.path();
        }
    }
    return newest;
}

std::size_t Stage::takes() const {
    const std::filesystem::directory_iterator folder(documents() / "LooperFiles");
    return static_cast<std::size_t>(std::count_if(begin(folder), end(folder), [](const auto& file) {
        return file.path().extension() == ".wav";
    }));
}

Channels Stage::sound() const {
    Channels both{listener_->recording(0), listener_->recording(1)};
    both[1].resize(both[0].size()); // it may have gone on meanwhile
    return both;
}

testing::AssertionResult Stage::hears(const Channels& loop, double passes) const {
    const auto needed = static_cast<std::size_t>(passes * static_cast<double>(loop[0].size()));
    const auto limit = std::chrono::seconds(3 + needed / 48000);
    Channels heard;
    if (eventually(
            [&] {
                std::this_thread::sleep_for(50ms);
                heard = sound();
                return Heard(heard, loop).exact >= needed;
            },
            limit)) {
        return testing::AssertionSuccess();
    }
    const Heard result(heard, loop);
    return testing::AssertionFailure()
           << result.exact << " exact frames, " << needed << " wanted; first sound at "
           << result.first << " of " << heard[0].size() << ", phase " << result.phase;
}

} // namespace tessivo::test
