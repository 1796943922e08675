// From a controller's note to the looper's command, with the real window open in this process.
//
//   midi_benchmark latency [notes]           at a cycle of 64 frames
//   midi_benchmark flood virtual [seconds]   50,000 notes a second, put in by hand
//   midi_benchmark flood server [seconds]    5,000 notes a second, over a sound server

#include "Common.h"

#include "Audio/MIDIManager.h"
#include "Platform/Midi/VirtualMidi.h"
#include "Platform/System/LineWriter.h"
#include "Platform/System/LogLine.h"
#include "support/AppProcess.h"
#include "support/MidiSender.h"
#include "support/PrivatePipeWire.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <optional>
#include <random>
#include <string_view>
#include <thread>

Q_IMPORT_QML_PLUGIN(TessivoPlugin)

using namespace tessivo;
using namespace std::chrono_literals;
using benchmark::millisecondsBetween;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kLatencyLimit = 5.0; // ms, of the median
constexpr double kStallLimit = 50.0;  // ms
constexpr double kMemoryLimit = 16.0; // MB more than before

// One note in a hundred is one of these, in turn.
constexpr std::size_t kMappedEvery = 100;

// Takes the place of standard output and notes when the MIDI thread has read a note.
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
        setLogSink({});
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

    Window() {
        engine_.load(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Tessivo/ContentView.qml")));
        const auto* window = engine_.rootObjects().isEmpty()
                                 ? nullptr
                                 : qobject_cast<QQuickWindow*>(engine_.rootObjects().constFirst());
        if (window == nullptr ||
            !benchmark::runEventsUntil([window] { return window->isExposed(); }, 10s)) {
            throw std::runtime_error("the window does not show");
        }
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
    MIDIManager& manager = MIDIManager::shared();
    std::vector<Command> commands;

private:
    void listen(MIDIManager::Callback& callback, TransportAction action) {
        callback = [this, action, command = callback] {
            commands.push_back({action, Clock::now(), notes.latest()});
            if (command) {
                command();
            }
        };
    }

    QQmlApplicationEngine engine_;
};

void report(const char* what, std::vector<double> milliseconds) {
    std::sort(milliseconds.begin(), milliseconds.end());
    const auto at = [&](std::size_t part) {
        return milliseconds[std::min(milliseconds.size() * part / 100, milliseconds.size() - 1)];
    };
    std::printf("  %s: median %.2f ms, p99 %.2f ms, worst %.2f ms\n", what, at(50), at(99),
                at(100));
}

int latency(std::size_t notes) {
    test::MidiSender keys;
    std::this_thread::sleep_for(300ms);
    Window window;
    const std::array actions{TransportAction::record, TransportAction::stop, TransportAction::play,
                             TransportAction::clear};
    std::mt19937 random(20'26);
    std::uniform_int_distribution<int> pause(50, 150);    // ms
    std::uniform_int_distribution<int> fraction(0, 1000); // us
    std::vector<Clock::time_point> pressed;
    for (std::size_t i = 0; i < notes; ++i) {
        pressed.push_back(Clock::now());
        keys.play(window.manager.configuration().noteForAction(actions[i % actions.size()]));
        benchmark::runEventsFor(std::chrono::milliseconds(pause(random)));
        // Not always at a timer's moment.
        std::this_thread::sleep_for(std::chrono::microseconds(fraction(random)));
    }
    benchmark::runEventsUntil([&] { return window.commands.size() >= notes; }, 5s);

    std::vector<double> toCycle;
    std::vector<double> toMidiThread;
    std::vector<double> toMainThread;
    std::vector<double> inProcess;
    std::vector<double> total;
    bool complete = window.commands.size() == notes;
    for (std::size_t i = 0; complete && i < notes; ++i) {
        const Window::Command& command = window.commands[i];
        complete = command.action == actions[i % actions.size()];
        const Clock::time_point sent = keys.sentAt(i + 1).value();
        toCycle.push_back(millisecondsBetween(pressed[i], sent));
        toMidiThread.push_back(millisecondsBetween(sent, command.noteRead));
        toMainThread.push_back(millisecondsBetween(command.noteRead, command.at));
        inProcess.push_back(millisecondsBetween(sent, command.at));
        total.push_back(millisecondsBetween(pressed[i], command.at));
    }
    std::printf("%zu notes, %zu commands%s, at a cycle of 64 frames (1.33 ms):\n", notes,
                window.commands.size(), complete ? "" : ", NOT THE SAME");
    if (!complete) {
        return 1;
    }
    report("key to the controller's cycle", toCycle);
    report("from there to the MIDI thread", toMidiThread);
    report("from there to the command", toMainThread);
    report("cycle to command", inProcess);
    report("key to command", total);
    return benchmark::spreadOf(total).median < kLatencyLimit ? 0 : 1;
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    statm >> pages >> pages;
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
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

// Lets the controller play for that long; ends it, says how many notes it was, and judges.
template <typename Begin, typename End>
int measureFlood(Window& window, std::chrono::seconds time, Begin&& begin, End&& end) {
    const double before = residentMegabytes();
    double peak = before;
    QTimer watch;
    watch.callOnTimeout([&peak] { peak = std::max(peak, residentMegabytes()); });
    watch.start(20);
    benchmark::StallMeter meter;
    const auto begun = Clock::now();
    begin();
    benchmark::runEventsFor(time);
    const std::uint64_t notes = end();
    const double seconds = millisecondsBetween(begun, Clock::now()) / 1000.0;
    const std::uint64_t mapped = (notes + kMappedEvery - 1) / kMappedEvery;
    benchmark::runEventsUntil([&] { return window.commands.size() >= mapped; }, 10s);
    benchmark::runEventsFor(1s); // commands that nobody gave would come now
    const double stall = meter.longest();
    const double after = residentMegabytes();
    const std::uint64_t commands = window.commands.size();
    std::printf("%llu notes in %.1f s (%.0f a second), %llu of them read; %llu mapped, %llu "
                "commands\n",
                static_cast<unsigned long long>(notes), seconds,
                static_cast<double>(notes) / seconds,
                static_cast<unsigned long long>(window.notes.count()),
                static_cast<unsigned long long>(mapped), static_cast<unsigned long long>(commands));
    std::printf("packets dropped on the way to the MIDI thread: %llu\n",
                static_cast<unsigned long long>(midi::MidiSystem::shared()->lostPackets()));
    std::printf("resident %.1f MB before, %.1f MB at most, %.1f MB after; longest stall of the "
                "main thread %.1f ms\n",
                before, peak, after, stall);
    return commands == mapped && peak - before <= kMemoryLimit && stall <= kStallLimit ? 0 : 1;
}

int floodVirtual(std::chrono::seconds time) {
    constexpr std::uint64_t kPerMillisecond = 50;
    const auto midi = std::make_shared<midi::VirtualMidi>();
    midi::MidiSystem::setShared(midi);
    const auto keys = midi->addSource("keys");
    Window window;
    const std::vector<std::uint8_t> notes = floodNotes(window.manager.configuration());
    std::atomic<bool> playing{true};
    std::uint64_t sent = 0;
    std::uint64_t refused = 0;
    std::thread player;
    const int result = measureFlood(
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
        },
        [&] {
            playing = false;
            player.join();
            return sent;
        });
    return result == 0 && refused == 0 ? 0 : 1;
}

int floodServer(std::chrono::seconds time) {
    test::MidiSender keys;
    std::this_thread::sleep_for(300ms);
    Window window;
    const std::vector<std::uint8_t> notes = floodNotes(window.manager.configuration());
    return measureFlood(
        window, time, [&] { keys.flood(5'000, notes); },
        [&] {
            keys.endFlood();
            std::this_thread::sleep_for(20ms); // the cycle that goes on
            return keys.flooded();
        });
}

int run(int argc, char** argv) {
    const auto argument = [argc, argv](int index) {
        return std::string(argc > index ? argv[index] : "");
    };
    const auto number = [&argument](int index, int otherwise) {
        const int value = std::atoi(argument(index).c_str());
        return value > 0 ? value : otherwise;
    };
    if (argument(1) == "latency") {
        return latency(static_cast<std::size_t>(number(2, 400)));
    }
    if (argument(1) == "flood" && argument(2) == "virtual") {
        return floodVirtual(std::chrono::seconds(number(3, 10)));
    }
    if (argument(1) == "flood" && argument(2) == "server") {
        return floodServer(std::chrono::seconds(number(3, 10)));
    }
    std::puts("usage: midi_benchmark latency [notes] | flood virtual|server [seconds]");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    const test::PrivatePipeWire server;
    const test::VirtualDisplay display;
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    setenv("QT_QUICK_BACKEND", "software", 1);
    const QGuiApplication application(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    return run(argc, argv);
}
