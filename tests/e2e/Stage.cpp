#include "e2e/Stage.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace tessivo::test {

using namespace std::chrono_literals;

namespace {

// While links are made, cycles are lost that nobody counts.
constexpr std::int64_t kSettlingCycles = 4;

// A machine that stalls now and then does not do so all the time.
constexpr std::size_t kUnbroken = 2 * 48000;

} // namespace

const Channels& allMarks() {
    static const Channels marks = [] {
        Channels both(2);
        for (std::int64_t frame = 0; frame < Mark::kFrames; ++frame) {
            both[0].push_back(Mark::sample(0, frame));
            both[1].push_back(Mark::sample(1, frame));
        }
        return both;
    }();
    return marks;
}

Heard::Heard(const Channels& sound, const Channels& original) {
    const std::size_t length = original[0].size();
    const std::size_t frames = sound[0].size();
    // One ear may be linked a cycle before the other.
    while (first < frames && (sound[0][first] == 0.0F || sound[1][first] == 0.0F)) {
        ++first;
    }
    end = silentAgain = first;
    if (first == frames) {
        return;
    }
    const auto find = [&](std::size_t frame) {
        const std::vector<float>& left = original[0];
        return static_cast<std::size_t>(std::find(left.begin(), left.end(), sound[0][frame]) -
                                        left.begin());
    };
    const std::size_t ramp = first + kRampFrames;
    while ((phase = find(first)) == length && first < std::min(ramp, frames - 1)) {
        ++first;
    }
    silentAgain = frames;
    while (sound[0][silentAgain - 1] == 0.0F && sound[1][silentAgain - 1] == 0.0F) {
        --silentAgain;
    }
    end = first;
    std::size_t place = phase;
    std::size_t stretch = 0;
    for (std::size_t at = first; at < silentAgain; ++at) {
        const auto isAt = [&](std::size_t there) {
            return there < length && sound[0][at] == original[0][there] &&
                   sound[1][at] == original[1][there];
        };
        if (!isAt(place)) {
            stretch = 0;
            if (sound[0][at] == 0.0F && sound[1][at] == 0.0F) {
                continue;
            }
            const std::size_t there = find(at);
            if (!isAt(there)) {
                break;
            }
            skipped += (there + length - place) % length;
            place = there;
        }
        silent += at - end;
        end = at + 1;
        ++exact;
        longest = std::max(longest, ++stretch);
        place = (place + 1) % length;
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
    heardFrom_ = listener_->frames() + kSettlingCycles * std::int64_t{kQuantum};
    if (!eventually([&] { return listened() > 0; })) {
        throw std::runtime_error("the speaker stands still");
    }
}

void Stage::leaveServer() {
    feeder_.reset();
    listener_.reset();
}

std::string Stage::startAnother(const std::string& bus, const std::string& file) const {
    return runProgram({"sh", "-c",
                       R"(HOME="$1" DBUS_SESSION_BUS_ADDRESS="$2" "$0" ${3:+"$3"}; echo $?)",
                       TESSIVO_PROGRAM, (home_ / "").string(), bus, file},
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
    for (auto& channel : both) {
        channel.erase(channel.begin(), channel.begin() + std::min(heardFrom_, std::ssize(channel)));
    }
    return both;
}

// The sum of what lines of that text have before "frames", since the last line of the other text.
std::size_t Stage::framesTold(const std::string& what, const std::string& since) const {
    std::size_t sum = 0;
    for (const std::string& line : app->lines()) {
        if (line.find(since) != std::string::npos) {
            sum = 0;
        }
        const std::string unit = " frames";
        for (std::size_t at = line.find(what) != std::string::npos ? line.find(unit) : line.npos;
             at != line.npos; at = line.find(unit, at + 1)) {
            sum += std::stoul(line.substr(line.rfind(' ', at - 1) + 1));
        }
    }
    return sum;
}

testing::AssertionResult Stage::isPlayed(const Channels& take) const {
    const Heard heard(take, allMarks());
    // The number of a frame from its mark, which comes again, and the frames that were lost up to
    // it.
    const auto lostUpTo = [&](std::size_t mark) {
        const std::int64_t last = played() - 1;
        const std::int64_t frame = last - (last - static_cast<std::int64_t>(mark)) % Mark::kFrames;
        return feeder_->clockOf(frame).position - frame;
    };
    const std::int64_t lost =
        lostUpTo(heard.phase + heard.exact + heard.skipped - 1) - lostUpTo(heard.phase);
    const std::size_t missing = heard.first + heard.skipped + take[0].size() - heard.end;
    const std::size_t told = framesTold("The take has gaps", "isRecording = true");
    return (heard.exact > 0 && heard.end == heard.silentAgain &&
                    (isTold ? missing <= told && told <= missing + static_cast<std::size_t>(lost)
                            : missing % kQuantum == 0) &&
                    heard.silent == heard.skipped + static_cast<std::size_t>(lost)
                ? testing::AssertionSuccess()
                : testing::AssertionFailure())
           << heard.exact << " of " << take[0].size() << " frames are as played, " << heard.silent
           << " silent among them; " << missing << " are missing, " << told << " told, " << lost
           << " lost by the microphone";
}

testing::AssertionResult Stage::hears(const Channels& loop, double passes) const {
    const auto needed = static_cast<std::size_t>(passes * static_cast<double>(loop[0].size()));
    const auto length = static_cast<std::int64_t>(loop[0].size());
    std::ostringstream found;
    const auto isHeard = [&] {
        std::this_thread::sleep_for(50ms);
        const Heard heard(sound(), loop);
        const auto positionOf = [&](std::size_t frame) {
            const auto number = heardFrom_ + static_cast<std::int64_t>(frame);
            return listener_->clockOf(number).position - number;
        };
        const std::int64_t lostByListener = positionOf(heard.end) - positionOf(heard.first);
        const std::int64_t ahead = static_cast<std::int64_t>(heard.skipped) -
                                   static_cast<std::int64_t>(heard.silent) - lostByListener;
        const std::size_t told = framesTold("Sound was interrupted", "isRecording = true");
        found.str({});
        found << heard.exact << " exact frames, " << heard.longest << " at once, " << needed
              << " wanted; first sound at " << heard.first << ", end at " << heard.end << " of "
              << listened() << ", phase " << heard.phase << "; " << heard.silent << " silent, "
              << told << " told, " << lostByListener << " lost by the listener; " << ahead
              << " ahead of the clock";
        return heard.exact >= needed && heard.longest >= std::min(needed, kUnbroken) &&
               ahead % length == 0 &&
               (isTold ? heard.silent <= told : heard.silent % kQuantum == 0);
    };
    return (eventually(isHeard, kPatience + std::chrono::seconds(needed / 48000))
                ? testing::AssertionSuccess()
                : testing::AssertionFailure())
           << found.str();
}

} // namespace tessivo::test
