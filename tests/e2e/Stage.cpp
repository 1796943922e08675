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

// Follows the sound from that frame on. The original is a function of channel and place, and
// ahead() tells how far behind a place it has a sample, if it has it.
template <typename Original, typename Ahead>
Course follow(const Channels& sound, std::size_t first, Original original, Ahead ahead) {
    Course course{.end = first};
    std::size_t place = 0;
    std::size_t stretch = 0;
    for (std::size_t at = first; at < sound[0].size(); ++at) {
        const auto isAt = [&](std::size_t there) {
            return sound[0][at] == original(0, there) && sound[1][at] == original(1, there);
        };
        if (!isAt(place)) {
            if (sound[0][at] == 0.0F && sound[1][at] == 0.0F) {
                continue;
            }
            const std::optional<std::size_t> skipped = ahead(place, sound[0][at]);
            if (!skipped || !isAt(place + *skipped)) {
                break;
            }
            course.skipped += *skipped;
            place += *skipped;
            stretch = 0;
        }
        course.silent += at - course.end;
        course.end = at + 1;
        ++course.exact;
        ++place;
        course.longest = std::max(course.longest, ++stretch);
    }
    return course;
}

} // namespace

Marked::Marked(const Channels& take) {
    const auto isSilent = [](float sample) {
        return sample == 0.0F;
    };
    const std::vector<float>& left = take[0];
    const auto begin = std::find_if_not(left.begin(), left.end(), isSilent);
    if (take.size() != 2 || begin == left.end() || !Mark::isExact(*begin)) {
        return;
    }
    first = static_cast<std::size_t>(begin - left.begin());
    mark = Mark::frame(*begin);
    const auto markAt = [this](std::size_t place) {
        return mark + static_cast<std::int64_t>(place);
    };
    static_cast<Course&>(*this) = follow(
        take, first,
        [&](std::size_t channel, std::size_t place) {
            return Mark::sample(channel, markAt(place));
        },
        [&](std::size_t place, float sample) {
            const std::int64_t ahead = Mark::frame(sample) - markAt(place) % Mark::kFrames;
            return Mark::isExact(sample) ? std::optional(static_cast<std::size_t>(
                                               (ahead + Mark::kFrames) % Mark::kFrames))
                                         : std::nullopt;
        });
    isWhole = std::all_of(take.begin(), take.end(), [&](const std::vector<float>& channel) {
        const auto at = [&](std::size_t frame) {
            return channel.begin() + static_cast<std::ptrdiff_t>(frame);
        };
        return std::all_of(channel.begin(), at(first), isSilent) &&
               std::all_of(at(end), channel.end(), isSilent);
    });
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
    const auto placeOf = [&](float sample) {
        return static_cast<std::size_t>(std::find(loop[0].begin(), loop[0].end(), sample) -
                                        loop[0].begin());
    };
    const auto find = [&] {
        return placeOf(sound[0][first]);
    };
    const std::size_t ramp = first + kRampFrames;
    for (phase = find(); phase == length && first < std::min(ramp, frames - 1); phase = find()) {
        ++first;
    }
    static_cast<Course&>(*this) = follow(
        sound, first,
        [&](std::size_t channel, std::size_t place) {
            return loop[channel][(phase + place) % length];
        },
        [&](std::size_t place, float sample) {
            const std::size_t there = placeOf(sample);
            return there < length
                       ? std::optional((there + length - (phase + place) % length) % length)
                       : std::nullopt;
        });
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
    heardFrom_ = listener_->frames() + kSettlingCycles * std::int64_t{kQuantum};
    if (!eventually([&] { return listened() > 0; })) {
        throw std::runtime_error("the speaker stands still");
    }
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
    const Marked marked(take);
    // A frame's number from its mark, which comes again.
    const auto clockOf = [&](std::int64_t mark) {
        return feeder_->clockOf(played() - 1 - (played() - 1 - mark) % Mark::kFrames).position;
    };
    const std::size_t skipped = marked.skipped + take[0].size() - marked.end + marked.first;
    const auto passed = static_cast<std::int64_t>(marked.exact + marked.skipped);
    const bool isTakeOfMarks = marked.isWhole && marked.mark >= 0;
    const std::int64_t lostByFeeder =
        isTakeOfMarks ? clockOf(marked.mark + passed - 1) - clockOf(marked.mark) - passed + 1 : 0;
    const std::size_t told = framesTold("The take has gaps", "isRecording = true");
    if (isTakeOfMarks && (isTold ? skipped == told : skipped % kQuantum == 0) &&
        marked.silent == marked.skipped + static_cast<std::size_t>(lostByFeeder)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << take.size() << " channels, " << marked.exact << " of " << take[0].size()
           << " frames are as played, " << marked.silent << " are silent among them; " << skipped
           << " were played in vain, " << told << " told, " << lostByFeeder
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
