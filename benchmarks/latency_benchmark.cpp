// What the sound server and we need from one end to the other, on a private server, with marks
// that tell each frame's number coming from the microphone.
//
//   latency_benchmark monitoring        frames that monitoring adds to a direct link, cycle 64
//   latency_benchmark takes [times]     length of a take against the time from press to press,
//                                       cycle 64
//   latency_benchmark restart [times]   from the return of a killed server to sound, cycle 1024
//   latency_benchmark preview [times]   from the click on a saved loop to its first sample at the
//                                       speaker, and how long the main thread is held up, cycle 64

#include "Common.h"

#include "Audio/LoopPreviewEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/LogLine.h"
#include "SystemDevices.h"
#include "Utils/LoopFileManager.h"
#include "ViewModels/SimpleLooperViewModel.h"
#include "support/GraphProbe.h"
#include "support/PrivatePipeWire.h"

#include <cstdio>
#include <map>
#include <random>
#include <string_view>
#include <thread>

using namespace tessivo;
using namespace std::chrono_literals;
using test::GraphProbe;
using test::Mark;
using test::PrivatePipeWire;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kRate = 48000.0;
constexpr double kQuantumMilliseconds = 1000.0 * 64 / kRate;

std::filesystem::path takePath(SimpleLooperViewModel& controller) {
    return controller.loopState()->fileURL().toLocalFile().toStdString();
}

void feed(PrivatePipeWire& server) {
    server.link("feeder:out_0", "mic:input_FL");
    server.link("feeder:out_1", "mic:input_FR");
}

int monitoring() {
    PrivatePipeWire server;
    const GraphProbe feeder("feeder", 2, 0);
    const GraphProbe listener("listener", 0, 2);
    feed(server);
    SimpleLooperViewModel controller(makeLooperDevice());
    controller.toggleInputMonitoring();
    benchmark::runEventsFor(1s); // for the session manager to link us
    // Left goes past us and right through us, from one microphone to one speaker.
    test::runProgram({"pw-link", "-d", "Tessivo:output_FL", "speaker:playback_FL"});
    server.link("mic:capture_FL", "speaker:playback_FL");
    server.link("speaker:monitor_FL", "listener:in_0");
    server.link("speaker:monitor_FR", "listener:in_1");
    benchmark::runEventsFor(500ms);
    const auto begin = static_cast<std::size_t>(listener.frames());
    benchmark::runEventsFor(10s);
    const auto direct = listener.recording(0);
    const auto monitored = listener.recording(1);

    std::map<std::int64_t, std::int64_t> framesAdded;
    std::int64_t lostByBoth = 0; // the server or the listener was late
    std::int64_t lostByUs = 0;
    std::int64_t compared = 0;
    for (std::size_t i = begin; i < direct.size(); ++i) {
        ++compared;
        if (!Mark::isExact(direct[i])) {
            ++lostByBoth;
        } else if (!Mark::isExact(monitored[i]) || Mark::channel(monitored[i]) != 1) {
            ++lostByUs;
        } else {
            ++framesAdded[Mark::frame(direct[i]) - Mark::frame(monitored[i])];
        }
    }
    std::printf("monitoring against a direct link, %lld frames at a cycle of 64:\n",
                static_cast<long long>(compared));
    for (const auto& [added, count] : framesAdded) {
        std::printf("  %lld frames added: %lld times\n", static_cast<long long>(added),
                    static_cast<long long>(count));
    }
    std::printf("  missing on the monitored side alone: %lld, on the direct link: %lld\n",
                static_cast<long long>(lostByUs), static_cast<long long>(lostByBoth));
    // A machine that is too busy loses a cycle now and then; one in a thousand is forgiven.
    const std::int64_t inTime = framesAdded.contains(0) ? framesAdded.at(0) : 0;
    return 1000 * (compared - inTime) <= compared ? 0 : 1;
}

struct TakeContent {
    std::int64_t frames = 0;
    std::int64_t breaks = 0;   // places where a frame does not follow the one before it
    std::int64_t unbroken = 0; // frames before the first break
    std::int64_t lastMark = 0; // position of the last frame that is no silence
};

TakeContent contentOf(const std::filesystem::path& path) {
    sound::AudioFileReader reader(path);
    std::vector<float> samples(static_cast<std::size_t>(reader.length()) * 2);
    TakeContent content;
    content.frames = reader.read(samples);
    for (std::int64_t i = 0; i < content.frames; ++i) {
        const auto at = static_cast<std::size_t>(2 * i);
        const float left = samples[at];
        content.lastMark = Mark::isExact(left) ? i : content.lastMark;
        const bool follows = Mark::isExact(left) &&
                             samples[at + 1] == Mark::sample(1, Mark::frame(left)) &&
                             (i == 0 || left == Mark::sample(0, Mark::frame(samples[at - 2]) + 1));
        content.breaks += follows ? 0 : 1;
        content.unbroken += content.breaks == 0 ? 1 : 0;
    }
    return content;
}

// Places where a plain listener heard the feeder's first channel break: cycles in which the
// server was late, whatever we did.
std::int64_t breaksHeard(const std::vector<float>& heard, std::int64_t begin, std::int64_t end) {
    std::int64_t breaks = 0;
    for (auto i = static_cast<std::size_t>(begin) + 1; i < static_cast<std::size_t>(end); ++i) {
        breaks += heard[i] == Mark::sample(0, Mark::frame(heard[i - 1]) + 1) ? 0 : 1;
    }
    return breaks;
}

int takes(int times) {
    PrivatePipeWire server;
    const GraphProbe feeder("feeder", 2, 0);
    const GraphProbe listener("listener", 0, 1, static_cast<std::size_t>(3 * times) * 48000);
    feed(server);
    server.link("mic:capture_FL", "listener:in_0");
    SimpleLooperViewModel controller(makeLooperDevice());
    benchmark::runEventsFor(1s);
    std::mt19937 random(20'26);
    std::uniform_int_distribution<int> duration(200, 1500);
    const double limit = kQuantumMilliseconds + 5.0;
    std::vector<double> deviations;
    int broken = 0;
    int missed = 0;
    int disturbed = 0; // by a server that is late
    for (int i = 0; i < times; ++i) {
        const std::int64_t begin = listener.frames();
        const auto pressed = Clock::now();
        controller.recordButtonPressed();
        benchmark::runEventsFor(std::chrono::milliseconds(duration(random)));
        const auto pressedAgain = Clock::now();
        controller.stopButtonPressed();
        benchmark::runEventsFor(20ms);
        const TakeContent content = contentOf(takePath(controller));
        const double deviation = 1000.0 * static_cast<double>(content.frames) / kRate -
                                 benchmark::millisecondsBetween(pressed, pressedAgain);
        if (breaksHeard(listener.recording(0), begin, listener.frames()) > 0) {
            ++disturbed;
            continue;
        }
        deviations.push_back(deviation);
        missed += std::abs(deviation) > limit ? 1 : 0;
        broken += content.breaks == 0 ? 0 : 1;
    }
    if (deviations.empty()) {
        std::puts("take length: this machine is too busy for any undisturbed take");
        return 1;
    }
    const auto [median, worst] = benchmark::spreadOf(deviations);
    std::printf("take length minus time from press to press, %zu takes: median %+.2f ms, worst "
                "%+.2f ms, %d beyond %.2f ms; %d of the takes not contiguous bit for bit; %d more "
                "takes left out, during which a plain listener heard the server lose cycles\n",
                deviations.size(), median, worst, missed, limit, broken, disturbed);
    return missed == 0 && broken == 0 ? 0 : 1;
}

struct Outage {
    double fromNodes = -1.0;    // ms from the first sign of the new server to sound
    double fromDefaults = -1.0; // ms from the moment the session manager has named defaults
};

// Kills the server, starts it again and waits for our sound at the speaker. Whoever listens and
// feeds must be made again as well, so the time is at most a little too long.
Outage restartServer(PrivatePipeWire& server, bool isFed) {
    const auto socket =
        std::filesystem::path(qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString()) / "pipewire-0";
    server.kill();
    std::filesystem::remove(socket);
    benchmark::runEventsFor(500ms);

    Clock::time_point defaults{};
    std::atomic<bool> hasDefaults = false;
    std::jthread restarting([&] {
        server.restart();
        defaults = Clock::now();
        hasDefaults = true;
    });
    if (!benchmark::runEventsUntil([&] { return std::filesystem::exists(socket); }, 10s)) {
        throw std::runtime_error("the sound server does not come back");
    }
    const auto nodes = Clock::now();
    std::unique_ptr<GraphProbe> feeder;
    std::unique_ptr<GraphProbe> listener;
    test::eventually([&] {
        try {
            listener = std::make_unique<GraphProbe>("listener", 0, 1, std::size_t{20} * 48000);
            feeder = isFed ? std::make_unique<GraphProbe>("feeder", 2, 0) : nullptr;
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    });
    server.link("speaker:monitor_FL", "listener:in_0");
    if (isFed) {
        feed(server);
    }
    const bool isHeard = benchmark::runEventsUntil(
        [&] {
            const auto heard = listener->recording(0);
            return !heard.empty() && heard.back() != 0.0F;
        },
        10s);
    const auto sound = Clock::now();
    if (!isHeard) {
        std::printf("nothing is heard; the server's links:\n%s\n", server.links().c_str());
    }
    benchmark::runEventsUntil([&] { return hasDefaults.load(); }, 10s);
    benchmark::runEventsFor(500ms); // some sound for a take to go on with
    return isHeard ? Outage{benchmark::millisecondsBetween(nodes, sound),
                            benchmark::millisecondsBetween(defaults, sound)}
                   : Outage{};
}

int reportOutages(const char* what, const std::vector<Outage>& outages) {
    std::vector<double> fromNodes;
    std::vector<double> fromDefaults;
    for (const Outage& outage : outages) {
        if (outage.fromNodes >= 0.0) {
            fromNodes.push_back(outage.fromNodes);
            fromDefaults.push_back(outage.fromDefaults);
        }
    }
    const auto silent = outages.size() - fromNodes.size();
    if (fromNodes.empty()) {
        std::printf("server restarted %zu times while %s: never heard again\n", outages.size(),
                    what);
        return 1;
    }
    const auto total = benchmark::spreadOf(fromNodes);
    const auto own = benchmark::spreadOf(fromDefaults);
    std::printf("server restarted %zu times while %s: sound after median %.0f ms, worst %.0f ms "
                "from the return of its socket (%+.0f ms, %+.0f ms from the naming of the "
                "default devices); not heard again %zu times\n",
                outages.size(), what, total.median, total.worst, own.median, own.worst, silent);
    return silent == 0 && total.worst <= 2000.0 ? 0 : 1;
}

int restart(int times) {
    // A cycle that a busy machine does not miss: gaps in a take are then the outage's.
    PrivatePipeWire server({"--quantum", "1024"});
    auto feeder = std::make_unique<GraphProbe>("feeder", 2, 0);
    feed(server);
    SimpleLooperViewModel controller(makeLooperDevice());
    benchmark::runEventsFor(1s);
    controller.recordButtonPressed();
    benchmark::runEventsFor(1s);
    controller.recordButtonPressed();
    benchmark::runEventsFor(500ms);
    std::vector<Outage> playing;
    for (int i = 0; i < times; ++i) {
        playing.push_back(restartServer(server, false));
    }
    int faults = reportOutages("playing", playing);
    controller.stopButtonPressed();
    controller.toggleInputMonitoring();
    feeder.reset();

    std::vector<Outage> recording;
    int invalid = 0;
    for (int i = 0; i < times; ++i) {
        auto source = std::make_unique<GraphProbe>("feeder", 2, 0);
        feed(server);
        benchmark::runEventsFor(300ms);
        controller.recordButtonPressed();
        benchmark::runEventsFor(1s);
        source.reset();
        recording.push_back(restartServer(server, true));
        controller.stopButtonPressed();
        benchmark::runEventsFor(20ms);
        const TakeContent content = contentOf(takePath(controller));
        // A second before the outage, without a break, and a third of one after it.
        const bool isValid =
            content.unbroken > 40'000 && content.lastMark > content.unbroken + 16'000;
        invalid += isValid ? 0 : 1;
        if (!isValid) {
            std::printf("  take of %lld frames: %lld without a break, the last mark at %lld\n",
                        static_cast<long long>(content.frames),
                        static_cast<long long>(content.unbroken),
                        static_cast<long long>(content.lastMark));
        }
    }
    faults += reportOutages("recording", recording);
    std::printf("  takes that are not whole before the outage or do not go on after it: %d\n",
                invalid);
    return faults + invalid == 0 ? 0 : 1;
}

// A second of sound in the library.
SavedLoop saveLoop() {
    SavedLoop loop("loop", "loop.wav", secondsSince2001Now(), 1.0, 0);
    sound::AudioPCMBuffer buffer({kRate, 2}, 48000);
    buffer.setFrameLength(48000);
    for (const std::uint32_t channel : {0U, 1U}) {
        std::fill(buffer.channel(channel).begin(), buffer.channel(channel).end(), 0.5F);
    }
    const std::string path = LoopFileManager::locationOf(loop)->toLocalFile().toStdString();
    sound::AudioFileWriter(path, {kRate, 2}).write(buffer);
    return loop;
}

// Runs the call and returns how long it held up the main thread, ms.
template <typename Call> double held(Call&& call) {
    const auto begin = Clock::now();
    call();
    return benchmark::millisecondsBetween(begin, Clock::now());
}

struct PreviewTimes {
    std::vector<double> toSound; // ms from the click
    std::vector<double> held;
};

// One preview, stopped and faded before this returns; a time of -1 is one never heard.
void clickAndListen(LoopPreviewEngine& engine, const SavedLoop& loop, const GraphProbe& listener,
                    PreviewTimes& times) {
    const std::int64_t clicked = listener.frames();
    times.held.push_back(held([&] { engine.previewLoop(loop); }));
    benchmark::runEventsFor(300ms);
    const auto heard = listener.recording(0);
    const auto first = std::find_if(heard.begin() + clicked, heard.end(),
                                    [](float sample) { return sample != 0.0F; });
    times.toSound.push_back(first == heard.end()
                                ? -1.0
                                : 1000.0 * static_cast<double>(first - heard.begin() - clicked) /
                                      kRate);
    engine.stopPreview();
    benchmark::runEventsFor(100ms);
}

int report(const char* what, const PreviewTimes& times) {
    const auto sound = benchmark::spreadOf(times.toSound);
    const auto main = benchmark::spreadOf(times.held);
    const auto silent = std::count(times.toSound.begin(), times.toSound.end(), -1.0);
    std::printf("%s, %zu times: first sample median %.1f ms, worst %.1f ms after the click; main "
                "thread held up median %.2f ms, worst %.2f ms; never heard %lld times\n",
                what, times.held.size(), sound.median, sound.worst, main.median, main.worst,
                static_cast<long long>(silent));
    return silent == 0 && main.worst < 50.0 ? 0 : 1;
}

int preview(int times) {
    PrivatePipeWire server;
    const SavedLoop loop = saveLoop();
    const GraphProbe listener("listener", 0, 1, static_cast<std::size_t>(times) * 2 * 48000);
    server.link("speaker:monitor_FL", "listener:in_0");
    PreviewTimes first;
    PreviewTimes later;
    std::vector<double> made;
    std::vector<double> gone;
    for (int i = 0; i < times; ++i) {
        std::unique_ptr<LoopPreviewEngine> engine;
        made.push_back(
            held([&] { engine = std::make_unique<LoopPreviewEngine>(makePreviewDevice()); }));
        clickAndListen(*engine, loop, listener, first);
        clickAndListen(*engine, loop, listener, later);
        gone.push_back(held([&] { engine.reset(); }));
        benchmark::runEventsFor(100ms);
    }
    int faults = report("first preview, which starts the engine", first);
    faults += report("later preview", later);
    const auto make = benchmark::spreadOf(made);
    const auto go = benchmark::spreadOf(gone);
    std::printf("engine made in median %.2f ms, worst %.2f ms; gone in %.2f ms, worst %.2f ms\n",
                make.median, make.worst, go.median, go.worst);

    const auto fail = [&](const char* what) {
        std::unique_ptr<LoopPreviewEngine> engine;
        const double making =
            held([&] { engine = std::make_unique<LoopPreviewEngine>(makePreviewDevice()); });
        std::string reason;
        QObject::connect(engine.get(), &LoopPreviewEngine::previewFailed,
                         [&](const QString& told) { reason = told.toStdString(); });
        const double failing = held([&] { engine->previewLoop(loop); });
        std::printf("%s: engine made in %.2f ms; preview fails in %.2f ms: %s\n", what, making,
                    failing, reason.c_str());
        return reason.empty() || making >= 50.0 ? 1 : 0;
    };
    server.freeze();
    faults += fail("server frozen");
    server.thaw();
    server.kill();
    faults += fail("server gone");
    return faults + (make.worst < 50.0 && go.worst < 50.0 ? 0 : 1);
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    const QCoreApplication application(argc, argv);
    setLogSink([](std::string_view) {});
    const std::string_view command = argc > 1 ? argv[1] : "";
    const int times = argc > 2 ? std::atoi(argv[2]) : 0;
    if (command == "monitoring") {
        return monitoring();
    }
    if (command == "takes") {
        return takes(times > 0 ? times : 50);
    }
    if (command == "restart") {
        return restart(times > 0 ? times : 10);
    }
    if (command == "preview") {
        return preview(times > 0 ? times : 20);
    }
    std::puts("usage: latency_benchmark monitoring | takes [times] | restart [times] | "
              "preview [times]");
    return 2;
}
