// From a controller's note to the looper's command, with the real window open in this process.
//
//   midi_benchmark latency [notes]                   at a cycle of 64 frames
//   midi_benchmark flood virtual [seconds]           50,000 notes a second, put in by hand
//   midi_benchmark flood server [seconds [quantum]]  5,000 notes a second, over a sound server

#include "Common.h"
#include "ContentWindow.h"
#include "MidiFlood.h"
#include "MidiWitness.h"

#include "Audio/MIDIManager.h"
#include "Platform/Midi/PipeWireMidi.h"
#include "Platform/System/LineWriter.h"
#include "Platform/System/LogLine.h"
#include "support/AppProcess.h"
#include "support/MidiSender.h"
#include "support/PrivatePipeWire.h"
#include "support/VirtualMidi.h"

#include <QGuiApplication>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <mutex>
#include <optional>
#include <random>
#include <string_view>
#include <thread>

using namespace tessivo;
using namespace std::chrono_literals;
using benchmark::millisecondsBetween;
using benchmark::residentMegabytes;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kLatencyLimit = 5.0; // ms, of the median
constexpr double kStallLimit = 50.0;  // ms
constexpr double kMemoryLimit = 16.0; // MB more than before

// One note in a hundred is one of these, in turn.
constexpr std::size_t kMappedEvery = 100;

// Replaces standard output, and records when the MIDI thread has read a note.
class NotesRead {
public:
    NotesRead() {
        setLogSink([this](std::string_view line) {
            if (line.starts_with("🎵 MIDI Note On: ")) {
                const std::scoped_lock lock(mutex_);
                ++count_;
                latest_ = Clock::now();
            } else if (line.starts_with("❌")) {
                std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
            }
            writer_.add(line);
        });
    }
    ~NotesRead() {
        setLogSink([](std::string_view) {});
        close(nowhere_);
    }
    NotesRead(const NotesRead&) = delete;
    NotesRead& operator=(const NotesRead&) = delete;

    std::uint64_t count() {
        const std::scoped_lock lock(mutex_);
        return count_;
    }
    Clock::time_point latest() {
        const std::scoped_lock lock(mutex_);
        return latest_;
    }

private:
    std::mutex mutex_;
    std::uint64_t count_ = 0;
    Clock::time_point latest_;
    // The lines are written all the same, as that is a part of the load.
    int nowhere_ = open("/dev/null", O_WRONLY | O_CLOEXEC);
    LineWriter writer_{nowhere_};
};

// The window as its user has it, and the moments at which commands reach it.
class Window {
public:
    struct Command {
        TransportAction action;
        Clock::time_point at;
        Clock::time_point noteRead;
    };

    explicit Window(std::shared_ptr<midi::MidiSystem> system)
        : midi(std::move(system))
        , manager(startManager()) {
        listen(manager.onRecord, TransportAction::record);
        listen(manager.onPlay, TransportAction::play);
        listen(manager.onStop, TransportAction::stop);
        listen(manager.onClear, TransportAction::clear);
        if (!manager.isConnected()) {
            throw std::runtime_error("the manager is not connected to the controller");
        }
        benchmark::runEventsFor(1s); // for the session manager, and what else begins late
    }

    NotesRead notes;
    const std::shared_ptr<midi::MidiSystem> midi;
    MIDIManager& manager;
    std::vector<Command> commands;

private:
    MIDIManager& startManager() const {
        MIDIManager::setSharedSystem(midi);
        return MIDIManager::shared();
    }
    void listen(MIDIManager::Callback& callback, TransportAction action) {
        callback = [this, action, command = callback] {
            commands.push_back({action, Clock::now(), notes.latest()});
            if (command) {
                command();
            }
        };
    }

    benchmark::ContentWindow content_;
};

void report(const char* what, std::vector<double> milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    const auto at = [&](std::size_t part) {
        return milliseconds[std::min(milliseconds.size() * part / 100, milliseconds.size() - 1)];
    };
    std::printf("  %s: median %.2f ms, p99 %.2f ms, worst %.2f ms\n", what, at(50), at(99),
                at(100));
}

// A controller, and a witness that receives the same as the application.
struct Stage {
    explicit Stage(test::PrivatePipeWire& server) { server.link("keys:out_0", "witness:in"); }

    benchmark::MidiFlood flood;
    test::MidiSender keys{{}, [this](const auto& position, const auto& add) {
                              flood.addTo(position, add);
                          }};
    benchmark::MidiWitness witness;
};

int latency(test::PrivatePipeWire& server, std::size_t notes) {
    Stage stage(server);
    Window window(std::make_shared<midi::PipeWireMidi>("Tessivo"));
    const std::array actions{TransportAction::record, TransportAction::stop, TransportAction::play,
                             TransportAction::clear};
    std::mt19937 random(20'26);
    std::uniform_int_distribution<int> pause(50, 150);    // ms
    std::uniform_int_distribution<int> fraction(0, 1000); // us
    std::vector<double> toCycle;
    std::vector<double> toMidiThread;
    std::vector<double> toMainThread;
    std::vector<double> total;
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < notes; ++i) {
        const TransportAction action = actions[i % actions.size()];
        window.commands.clear();
        const auto pressed = Clock::now();
        const auto number = stage.keys.play(window.manager.configuration().noteForAction(action));
        benchmark::runEventsFor(std::chrono::milliseconds(pause(random)));
        // Not always at a timer's moment.
        std::this_thread::sleep_for(std::chrono::microseconds(fraction(random)));
        const auto sent = stage.keys.sentAt(number);
        if (!sent || window.commands.size() != 1 || window.commands[0].action != action) {
            ++wrong;
            continue;
        }
        const Window::Command& command = window.commands[0];
        toCycle.push_back(millisecondsBetween(pressed, *sent));
        toMidiThread.push_back(millisecondsBetween(*sent, command.noteRead));
        toMainThread.push_back(millisecondsBetween(command.noteRead, command.at));
        total.push_back(millisecondsBetween(pressed, command.at));
    }
    const std::size_t unheard = notes - stage.witness.heard();
    std::printf("%zu notes at a cycle of 64 frames (1.33 ms), %zu without their command, %zu not "
                "heard by the witness\n",
                notes, wrong, unheard);
    if (total.empty()) {
        return 1;
    }
    report("key to the controller's cycle", toCycle);
    report("from there to the MIDI thread", toMidiThread);
    report("from there to the command", toMainThread);
    report("key to command", total);
    return benchmark::spreadOf(total).median < kLatencyLimit && (wrong == 0 || unheard > 0) ? 0 : 1;
}

// Notes that mean nothing, with one that stops or clears at the beginning of every hundred.
std::vector<std::uint8_t> floodNotes(const MIDIConfiguration& configuration) {
    std::vector<std::uint8_t> notes;
    for (std::size_t i = 0; i < 2 * kMappedEvery; ++i) {
        notes.push_back(static_cast<std::uint8_t>(20 + i % 50));
    }
    notes[0] = configuration.stopNote;
    notes[kMappedEvery] = configuration.clearNote;
    return notes;
}

struct Flood {
    bool bounded;  // memory and stalls are within their limits
    bool complete; // every mapped note gave its command, and nothing else did
};

// Lets the controller play for that long. Both functions tell how many notes of the sequence
// have been played so far.
template <typename Begin, typename End>
Flood measureFlood(Window& window, std::chrono::seconds time, Begin&& begin, End&& end) {
    const auto mappedOf = [](std::uint64_t notes) {
        return (notes + kMappedEvery - 1) / kMappedEvery;
    };
    const double before = residentMegabytes();
    double peak = before;
    QTimer watch;
    watch.callOnTimeout([&peak] { peak = std::max(peak, residentMegabytes()); });
    watch.start(20);
    window.commands.clear();
    const std::uint64_t readBefore = window.notes.count();
    benchmark::StallMeter meter;
    const std::uint64_t first = begin();
    benchmark::runEventsFor(time);
    const std::uint64_t last = end();
    const std::uint64_t mapped = mappedOf(last) - mappedOf(first);
    benchmark::runEventsUntil([&] { return window.commands.size() >= mapped; }, 10s);
    benchmark::runEventsFor(1s); // commands that nobody gave would come now
    const double stall = meter.longest();
    const double after = residentMegabytes();
    const std::uint64_t commands = window.commands.size();
    std::printf("%llu notes in %lld s, %llu of them read; %llu mapped, %llu commands\n",
                static_cast<unsigned long long>(last - first), static_cast<long long>(time.count()),
                static_cast<unsigned long long>(window.notes.count() - readBefore),
                static_cast<unsigned long long>(mapped), static_cast<unsigned long long>(commands));
    std::printf("packets dropped on the way to the MIDI thread: %llu\n",
                static_cast<unsigned long long>(window.midi->lostPackets()));
    std::printf("resident %.1f MB before, %.1f MB at most, %.1f MB after; longest stall of the "
                "main thread %.1f ms\n",
                before, peak, after, stall);
    return {peak - before <= kMemoryLimit && stall <= kStallLimit, commands == mapped};
}

int floodVirtual(std::chrono::seconds time) {
    constexpr std::uint64_t kPerMillisecond = 50;
    const auto midi = std::make_shared<midi::VirtualMidi>();
    const auto keys = midi->addSource("keys");
    Window window(midi);
    const std::vector<std::uint8_t> notes = floodNotes(window.manager.configuration());
    std::atomic<bool> playing{true};
    std::uint64_t sent = 0;
    std::uint64_t refused = 0;
    std::thread player;
    const Flood flood = measureFlood(
        window, time,
        [&] {
            player = std::thread([&] {
                std::vector<std::vector<std::uint8_t>> packets(kPerMillisecond, {0x90, 0, 100});
                auto next = Clock::now();
                while (playing) {
                    for (auto& packet : packets) {
                        packet[1] = notes[sent++ % notes.size()];
                    }
                    refused += midi->send(keys, packets) ? 0U : 1U;
                    std::this_thread::sleep_until(next += 1ms);
                }
            });
            return std::uint64_t{0};
        },
        [&] {
            playing = false;
            player.join();
            return sent;
        });
    return flood.bounded && flood.complete && refused == 0 ? 0 : 1;
}

int floodServer(test::PrivatePipeWire& server, std::chrono::seconds time) {
    constexpr int kRuns = 5;
    Stage stage(server);
    Window window(std::make_shared<midi::PipeWireMidi>("Tessivo"));
    const std::vector<std::uint8_t> notes = floodNotes(window.manager.configuration());
    for (int run = 0; run < kRuns; ++run) {
        const std::uint64_t sentBefore = stage.flood.sent();
        const std::uint64_t heardBefore = stage.witness.heard();
        const Flood flood = measureFlood(
            window, time,
            [&] {
                stage.flood.begin(5'000, notes);
                return sentBefore;
            },
            [&] {
                stage.flood.end();
                benchmark::runEventsFor(20ms); // the cycle that goes on
                return stage.flood.sent();
            });
        const std::uint64_t unheard =
            stage.flood.sent() - sentBefore - (stage.witness.heard() - heardBefore);
        std::printf("not heard by the witness: %llu\n", static_cast<unsigned long long>(unheard));
        if (!flood.bounded || flood.complete || unheard == 0) {
            return flood.bounded && flood.complete ? 0 : 1;
        }
        std::puts("left out: the server has lost notes");
    }
    return 1;
}

int run(test::PrivatePipeWire& server, int argc, char** argv) {
    const auto argument = [argc, argv](int index) {
        return std::string(argc > index ? argv[index] : "");
    };
    const auto number = [&argument](int index, int otherwise) {
        const int value = std::atoi(argument(index).c_str());
        return value > 0 ? value : otherwise;
    };
    if (argument(1) == "latency") {
        return latency(server, static_cast<std::size_t>(number(2, 400)));
    }
    if (argument(1) == "flood" && argument(2) == "virtual") {
        return floodVirtual(std::chrono::seconds(number(3, 10)));
    }
    if (argument(1) == "flood" && argument(2) == "server") {
        return floodServer(server, std::chrono::seconds(number(3, 10)));
    }
    std::puts("usage: midi_benchmark latency [notes] | flood virtual|server [seconds [quantum]]");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    test::PrivatePipeWire server({"--quantum", argc > 4 ? argv[4] : "64"});
    const test::VirtualDisplay display;
    benchmark::useSoftwareRenderer();
    const QGuiApplication application(argc, argv);
    return run(server, argc, argv);
}
