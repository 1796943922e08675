// How soon a take is heard again, and whether it is as long as it was played. On a private
// sound server, whose microphone plays marks that tell each frame's number, loopers run as
// programs of their own and are ordered from outside: Tessivo by notes at known frames,
// SooperLooper, where it is installed, by messages. What is printed is found in the samples of
// microphone and speaker, the same way for both.
//
//   turnaround_benchmark turnaround [takes [cycle]]   take after take, each ended by the command
//                                                     that lets it sound
//   turnaround_benchmark disk [takes [cycle]]         the same with a disk that blocks for five
//                                                     seconds when a take ends; Tessivo only
//   turnaround_benchmark length [takes [cycle]]       length of the file against the distance of
//                                                     two notes, with the main thread free and
//                                                     blocked for up to 200 ms around each note;
//                                                     Tessivo only
//
// Without a cycle those of 64, 256 and 1024 frames are tried.

#include "Disturber.h"
#include "LoopHeard.h"
#include "Loopers.h"

#include "Platform/Sound/File/AudioFile.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>
#include <thread>

using namespace tessivo;
using namespace tessivo::benchmark;
using namespace std::chrono_literals;
using test::GraphProbe;
using test::Mark;

namespace {

constexpr auto kDiskBlock = 5s;

// The server, somebody who plays into its microphone, and somebody who listens.
class Stage {
public:
    Stage(int quantum, double seconds)
        : server(quantum)
        , musician(Musician::Sound::marks)
        , listener_("listener", 0, 2, static_cast<std::size_t>(seconds * kRate)) {
        server.link("musician:out_0", "mic:input_FL");
        server.link("musician:out_1", "mic:input_FR");
        server.link("mic:capture_FL", "listener:in_0");
        server.link("speaker:monitor_FL", "listener:in_1");
        linkDelay_ = measureLink();
    }

    std::size_t now() const { return static_cast<std::size_t>(listener_.frames()); }
    Listened heard() const {
        Listened all{listener_.recording(0), listener_.recording(1), linkDelay_};
        all.speaker.resize(all.microphone.size()); // it may have gone on meanwhile
        return all;
    }

    MeasuredServer server;
    Musician musician;

private:
    std::int64_t measureLink() {
        server.link("mic:capture_FL", "speaker:playback_FL");
        std::int64_t delay = -1;
        const bool isHeard = test::eventually([&] {
            std::this_thread::sleep_for(50ms);
            const auto microphone = listener_.recording(0);
            const auto speaker = listener_.recording(1);
            const float played = microphone.empty() ? 0.0F : microphone.back();
            const float sound = microphone.empty() ? 0.0F : speaker[microphone.size() - 1];
            delay = Mark::frame(played) - Mark::frame(sound);
            return sound != 0.0F && delay >= 0 && Mark::isExact(sound);
        });
        test::runProgram({"pw-link", "-d", "mic:capture_FL", "speaker:playback_FL"});
        if (!isHeard) {
            throw std::runtime_error("the microphone is not heard at the speaker");
        }
        return delay;
    }

    GraphProbe listener_;
    std::int64_t linkDelay_ = 0;
};

void waitFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

struct Column {
    void add(std::int64_t frames) { all.push_back(static_cast<double>(frames)); }
    void print(const char* what) {
        if (all.empty()) {
            return;
        }
        std::sort(all.begin(), all.end());
        const std::set<double> different(all.begin(), all.end());
        const double middle = all[all.size() / 2];
        std::printf("    %s: min %.0f, median %.0f, max %.0f frames (%.2f, %.2f, %.2f ms), %zu "
                    "different\n",
                    what, all.front(), middle, all.back(), 1e3 * all.front() / kRate,
                    1e3 * middle / kRate, 1e3 * all.back() / kRate, different.size());
    }

    std::vector<double> all;
};

struct Take {
    std::size_t begin; // of what was heard, before the take's end
    std::size_t end;
    double played; // frames from command to command
};

std::vector<Take> playTakes(Stage& stage, Looper& looper, int times, Disturber* disturber) {
    std::mt19937 random(20'26);
    std::uniform_real_distribution<double> duration(0.4, 0.7);
    std::vector<Take> takes;
    for (int i = -1; i < times; ++i) { // the first one is for warming up
        const double seconds = duration(random);
        Take take{};
        const double began = looper.press();
        waitFor(seconds);
        if (disturber != nullptr) {
            disturber->orders().isDiskBlocked = true;
        }
        take.begin = stage.now();
        take.played = looper.press() - began;
        if (disturber != nullptr) {
            std::this_thread::sleep_for(kDiskBlock);
            disturber->orders().isDiskBlocked = false;
        }
        waitFor(0.4 + 2.2 * seconds);
        take.end = stage.now();
        looper.stop();
        waitFor(0.2); // for whoever fades
        if (i >= 0) {
            takes.push_back(take);
        }
    }
    return takes;
}

int report(const Stage& stage, const Looper& looper, const std::vector<Take>& takes) {
    Column turnaround;
    Column silence;
    Column length;
    std::map<LoopHeard::Fault, int> faults;
    std::int64_t holes = 0;
    const Listened all = stage.heard();
    for (const Take& take : takes) {
        const LoopHeard loop = examine(all, take.begin, take.end);
        if (++faults[loop.fault]; loop.fault == LoopHeard::Fault::none) {
            turnaround.add(loop.turnaround);
            silence.add(loop.silence);
            length.add(loop.length - std::llround(take.played));
            holes += loop.holes > 0 ? 1 : 0;
        }
    }
    std::printf("%s, cycle of %d frames, %zu takes: %d heard whole, %lld of them with silence in "
                "the loop; %d never heard twice, %d broken, %d left out because the server lost "
                "cycles; a direct link from microphone to speaker takes %lld frames, which are "
                "subtracted\n",
                looper.name(), stage.server.quantum(), takes.size(), faults[LoopHeard::Fault::none],
                static_cast<long long>(holes), faults[LoopHeard::Fault::silent],
                faults[LoopHeard::Fault::broken], faults[LoopHeard::Fault::disturbed],
                static_cast<long long>(all.linkDelay));
    turnaround.print("turnaround, loop behind the end of its take");
    silence.print("silence after the take");
    length.print("length of the loop minus distance of the commands");
    std::fflush(stdout);
    return turnaround.all.empty() ? 1 : 0;
}

int turnaround(int quantum, int times) {
    int faults = 0;
    {
        Stage stage(quantum, 4.0 * (times + 4));
        Tessivo tessivo(stage.server, stage.musician);
        faults += report(stage, tessivo, playTakes(stage, tessivo, times, nullptr));
    }
    if (Peer::isInstalled()) {
        Stage stage(quantum, 4.0 * (times + 4));
        Peer peer(stage.server);
        faults += report(stage, peer, playTakes(stage, peer, times, nullptr));
    }
    return faults;
}

int disk(int quantum, int times) {
    Stage stage(quantum, 10.0 * (times + 2));
    Disturber disturber;
    Tessivo tessivo(stage.server, stage.musician, disturber.wrapper());
    const auto takes = playTakes(stage, tessivo, times, &disturber);
    const unsigned waits = disturber.orders().diskWaits;
    std::printf("disk blocked for %lld s from before the end of each take, which %u calls felt\n",
                static_cast<long long>(std::chrono::seconds(kDiskBlock).count()), waits);
    return report(stage, tessivo, takes) + (waits > 0 ? 0 : 1);
}

// Plays a note at a known frame; with a disturber, the main thread is blocked from up to 150 ms
// before it to 200 ms after that.
std::int64_t playBlocked(Tessivo& tessivo, std::uint8_t note, Disturber* disturber,
                         std::mt19937& random) {
    if (disturber == nullptr) {
        return tessivo.play(note);
    }
    std::uniform_int_distribution<int> before(0, 150);
    const auto end = std::chrono::steady_clock::now() + 200ms;
    disturber->orders().isMainThreadBlocked = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(before(random)));
    const std::int64_t frame = tessivo.play(note);
    std::this_thread::sleep_until(end);
    disturber->orders().isMainThreadBlocked = false;
    return frame;
}

std::filesystem::path newestIn(const std::filesystem::path& folder) {
    std::filesystem::path newest;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (newest.empty() || entry.last_write_time() > last_write_time(newest)) {
            newest = entry.path();
        }
    }
    return newest;
}

int takeLengths(int quantum, int times, bool isBlocked) {
    Stage stage(quantum, 1.0);
    Disturber disturber;
    Tessivo tessivo(stage.server, stage.musician, disturber.wrapper());
    std::mt19937 random(20'26);
    std::uniform_real_distribution<double> duration(0.4, 1.5);
    Column length;
    Column begin;
    int broken = 0;
    int unheard = 0;
    const auto finished = [&] {
        return tessivo.app().count("Final recording URL");
    };
    for (int i = 0; i < times; ++i) {
        const std::size_t before = finished();
        Disturber* const used = isBlocked ? &disturber : nullptr;
        const std::int64_t from = playBlocked(tessivo, Tessivo::kRecord, used, random);
        waitFor(duration(random));
        const std::int64_t to = playBlocked(tessivo, Tessivo::kStop, used, random);
        if (!test::eventually([&] { return finished() > before; })) {
            ++unheard; // one of the notes went with a cycle
            tessivo.play(Tessivo::kStop);
            waitFor(0.5);
            continue;
        }
        waitFor(0.2); // its last buffer may be on its way to the disk
        sound::AudioFileReader file(newestIn(tessivo.takes()));
        std::vector<float> samples(static_cast<std::size_t>(2 * file.length()));
        file.read(samples);
        bool isWhole = true;
        for (std::size_t at = 2; at < samples.size() && isWhole; at += 2) {
            isWhole = samples[at] == Mark::sample(0, Mark::frame(samples[at - 2]) + 1);
        }
        if (isWhole) {
            length.add(file.length() - (to - from));
            begin.add(Mark::frame(samples[0]) - from % Mark::kFrames);
        } else {
            ++broken; // what was lost is silence, which the musician did not play
        }
    }
    const unsigned waits = disturber.orders().mainThreadWaits;
    std::printf("Tessivo, cycle of %d frames, %d takes between two notes, main thread %s: %d more "
                "left out because the server lost cycles in them, %d because it lost a note\n",
                quantum, times - broken - unheard,
                isBlocked ? "blocked for 200 ms around each note" : "free", broken, unheard);
    length.print("length of the file minus distance of the notes");
    begin.print("first frame of the file behind the first note");
    std::fflush(stdout);
    return isBlocked == (waits > 0) && !length.all.empty() ? 0 : 1;
}

int length(int quantum, int times) {
    return takeLengths(quantum, times, false) + takeLengths(quantum, times, true);
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view command = argc > 1 ? argv[1] : "";
    const int times = argc > 2 ? std::atoi(argv[2]) : command == "disk" ? 5 : 50;
    const int quantum = argc > 3 ? std::atoi(argv[3]) : 0;
    int (*measure)(int, int) = nullptr;
    if (command == "turnaround") {
        measure = turnaround;
    } else if (command == "disk") {
        measure = disk;
    } else if (command == "length") {
        measure = length;
    }
    if (measure == nullptr || times <= 0) {
        std::puts("usage: turnaround_benchmark turnaround | disk | length [takes [cycle]]");
        return 2;
    }
    if (measure == turnaround && !Peer::isInstalled()) {
        std::puts("SooperLooper is not installed (scripts/packages.sh peer): Tessivo alone");
    }
    int faults = 0;
    try {
        const test::VirtualDisplay display;
        for (const int frames : {64, 256, 1024}) {
            if (quantum == 0 || quantum == frames) {
                faults += measure(frames, times);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return faults == 0 ? 0 : 1;
}
