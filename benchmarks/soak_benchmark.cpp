// An evening of use in which everything goes wrong. The program runs with its window on a private
// sound server and a private display, and gets keys, clicks and notes at random, while the server,
// the session manager, the microphone and the disk fail one after another, and the program itself
// is killed now and then. What it promises is looked at all the time: it does not end by itself, it
// answers, every take can be read and is as long as it was played, lines and window agree, sound
// comes back within two seconds, and descriptors and threads stay as many as they were.
//
//   soak_benchmark [minutes [seed]]             one line a minute, and one for each broken promise
//   soak_benchmark restarts [times [seed]]      the server alone fails, in one of five ways at
//                                               random, while a loop plays
//
// The result is 0 when nothing was broken. The same seed gives the same orders, at other moments.

#include "Disturber.h"
#include "LineJudge.h"
#include "Loopers.h"
#include "support/ScreenReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string_view>
#include <thread>

using namespace tessivo;
using namespace tessivo::benchmark;
using namespace std::chrono_literals;

namespace {

namespace fs = std::filesystem;

constexpr int kQuantum = 1024; // a cycle that a busy machine does not miss
constexpr auto kBackWithin = 2s;

// What a process holds of the system.
struct Levels {
    explicit Levels(pid_t id) {
        const fs::path process = "/proc/" + std::to_string(id);
        descriptors = static_cast<int>(std::distance(fs::directory_iterator(process / "fd"), {}));
        threads = static_cast<int>(std::distance(fs::directory_iterator(process / "task"), {}));
        std::ifstream statm(process / "statm");
        long pages = 0;
        statm >> pages >> pages;
        megabytes = static_cast<double>(pages * sysconf(_SC_PAGESIZE)) / 1e6;
    }

    int descriptors = 0;
    int threads = 0;
    double megabytes = 0.0;
};

class SoakServer : public MeasuredServer {
public:
    SoakServer()
        : MeasuredServer(kQuantum) {}

    void killSession() const { signal("wireplumber", SIGKILL); }
    // After killSession(). On a desktop the devices are the session manager's and go and come with
    // it. Devices that it has not made it links to nobody, once it is restarted.
    void restartSession() {
        PrivatePipeWire::restartSession();
        createSpeaker("speaker", 48000, "FL,FR");
        createMicrophone("mic", 48000, "FL,FR");
    }
};

// The program and all that it needs.
class Room {
public:
    Room() { feed(); }

    void start() {
        std::vector<std::string> wrapper = test::kReadable;
        wrapper.insert(wrapper.end(), disturber.wrapper().begin() + 1, disturber.wrapper().end());
        app.emplace(home(), wrapper);
    }
    fs::path home() const { return home_ / ""; }

    void feed() {
        musician = std::make_unique<Musician>(Musician::Sound::marks);
        plug();
    }
    void plug() {
        server.link("musician:out_0", "mic:input_FL");
        server.link("musician:out_1", "mic:input_FR");
    }
    bool isLinked() const {
        const std::string links = server.links();
        return links.find("|-> Tessivo:input_FL") != std::string::npos &&
               links.find("|<- Tessivo:output_FL") != std::string::npos;
    }

private:
    test::VirtualDisplay display_;
    test::TemporaryFolder home_;

public:
    SoakServer server;
    std::unique_ptr<Musician> musician; // it does not survive the server
    Disturber disturber;
    std::optional<test::AppProcess> app;
};

// Whether what one program's life holds of the system grows. At first it is as much as it needs.
class Trend {
public:
    static constexpr int kMoreDescriptors = 12;
    static constexpr int kMoreThreads = 6;
    static constexpr double kMoreMegabytes = 60; // the library's window is made, and kept warm

    void begin() { *this = {}; }
    std::optional<std::string> add(const Levels& now) {
        if (++count_ <= 3) {
            descriptors_ = std::max(descriptors_, now.descriptors);
            threads_ = std::max(threads_, now.threads);
            megabytes_ = std::max(megabytes_, now.megabytes);
        }
        const bool grows = now.descriptors > descriptors_ + kMoreDescriptors ||
                           now.threads > threads_ + kMoreThreads ||
                           now.megabytes > megabytes_ + kMoreMegabytes;
        growing_ = grows ? growing_ + 1 : 0; // once is no trend
        const auto text = [](int descriptors, int threads, double megabytes) {
            return std::to_string(descriptors) + " descriptors, " + std::to_string(threads) +
                   " threads, " + std::to_string(megabytes) + " MB";
        };
        return growing_ == 3
                   ? std::optional(text(now.descriptors, now.threads, now.megabytes) +
                                   "; at first " + text(descriptors_, threads_, megabytes_))
                   : std::nullopt;
    }

private:
    int count_ = 0;
    int growing_ = 0;
    int descriptors_ = 0;
    int threads_ = 0;
    double megabytes_ = 0.0;
};

class Soak {
public:
    explicit Soak(unsigned seed)
        : random_(seed) {}

    int run(std::chrono::minutes time) {
        startProgram();
        auto nextReport = begin_ + 1min;
        while (Clock::now() < begin_ + time) {
            try {
                round();
            } catch (const std::exception& error) {
                broken(error.what());
            }
            if (!room_.app || !room_.app->runs()) {
                broken("the program has ended by itself: " +
                       (room_.app ? std::to_string(room_.app->end(0)) : "not started"));
                startProgram();
            }
            if (Clock::now() >= nextReport) {
                report();
                nextReport += 1min;
            }
        }
        end();
        report();
        return broken_ == 0 ? 0 : 1;
    }

private:
    struct Fault {
        const char* name;
        int share; // how often, compared to the others
        void (Soak::*begin)();
        void (Soak::*end)();
    };
    static const std::vector<Fault> kFaults;

    int upTo(int most) { return std::uniform_int_distribution(0, most)(random_); }
    template <typename Value> Value oneOf(std::initializer_list<Value> all) {
        return all.begin()[upTo(static_cast<int>(all.size()) - 1)];
    }

    void broken(const std::string& what) {
        ++broken_;
        std::printf("BROKEN after %.0f s: %s\n", seconds(), what.c_str());
        if (room_.app) {
            const auto lines = room_.app->lines();
            for (std::size_t i = lines.size() - std::min<std::size_t>(lines.size(), 12);
                 i < lines.size(); ++i) {
                std::printf("    %s\n", lines[i].c_str());
            }
        }
        std::fflush(stdout);
    }
    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

    void startProgram() {
        room_.app.reset();
        judge_.beginProgram();
        trend_.begin();
        room_.start();
        room_.app->await("Input monitoring disabled");
    }

    void round() {
        act(5 + upTo(15));
        std::vector<int> shares;
        shares.reserve(kFaults.size());
        for (const Fault& fault : kFaults) {
            shares.push_back(fault.share);
        }
        const Fault& fault =
            kFaults[std::discrete_distribution<std::size_t>(shares.begin(), shares.end())(random_)];
        ++faults_[fault.name];
        judge_.beginExcuse();
        (this->*fault.begin)();
        act(upTo(6));
        try {
            (this->*fault.end)();
        } catch (const std::exception& error) {
            ++stageFailures_; // a session manager does not come up each time
            std::printf("the server begins anew: %s\n", error.what());
            killServer();
            restartServer();
        }
        judge_.endExcuse(Clock::now() + kBackWithin);
        if (!test::eventually([&] { return room_.isLinked(); }, kBackWithin)) {
            broken("not back after: " + std::string(fault.name) + "\n" + room_.server.links());
        }
        judge_.read(*room_.app);
        if (++rounds_ % 3 == 0) {
            lookAtProgram();
        }
    }

    // As a cat on the keyboard, who prefers the transport keys.
    void act(int times) {
        for (int i = 0; i < times; ++i) {
            const int kind = upTo(99);
            if (kind < 45) {
                ++keys_;
                room_.app->press(oneOf({"Return", "Return", "space", "period", "ctrl+Delete"}));
            } else if (kind < 60 && room_.musician) {
                ++notes_;
                room_.musician->play(oneOf<std::uint8_t>({80, 80, 0, 1, 2}), 0); // at once
            } else if (kind < 75) {
                ++clicks_;
                clickAnywhere();
            } else if (kind < 80) {
                keys_ += 2;
                pressAll(oneOf({"Return space", "Return Return", "space space", "space Return",
                                "period ctrl+Delete"}),
                         0);
            } else if (kind < 88) {
                keys_ += 3;
                pressAll(oneOf({"space ctrl+s Return", "period ctrl+s a Return",
                                "period ctrl+o Down Return", "ctrl+o Down space Escape"}),
                         300);
            } else {
                ++keys_;
                room_.app->press(oneOf({"ctrl+s", "ctrl+o", "ctrl+f", "Escape", "Tab", "Down", "Up",
                                        "F2", "Delete", "a", "b", "Return", "ctrl+Return"}));
            }
            judge_.read(*room_.app);
            std::this_thread::sleep_for(std::chrono::milliseconds(upTo(upTo(9) == 0 ? 2500 : 300)));
        }
    }

    static void pressAll(const std::string& keys, int delay) { // ms
        test::runProgram({"sh", "-c", "xdotool key --delay " + std::to_string(delay) + " " + keys});
    }

    void clickAnywhere() {
        test::runProgram({"sh", "-c", R"sh(
            eval "$(xdotool getactivewindow getwindowgeometry --shell 2>/dev/null)"
            [ -z "$WINDOW" ] || xdotool mousemove --window "$WINDOW" \
                $((WIDTH * $0 / 1000)) $((HEIGHT * $1 / 1000)) click 1 2>/dev/null || true)sh",
                          std::to_string(upTo(999)), std::to_string(upTo(999))});
    }

    // Without a sheet, and with nothing on its way.
    void bringToRest() {
        test::runProgram({"sh", "-c", R"sh(
            times=0 # a sheet that was asked for may still be on its way
            until [ $times = 3 ]; do
                xdotool key Escape; sleep 0.3
                [ "$(xdotool getactivewindow getwindowname)" = Tessivo ] || times=-1
                times=$((times + 1))
            done 2>/dev/null
            window=$(xdotool getactivewindow)
            xdotool mousemove --window "$window" 20 460 click 1)sh"},
                         15s);
        std::this_thread::sleep_for(500ms); // a take that has just ended plays
        judge_.read(*room_.app);
    }

    // Compares what it says with what it shows.
    void lookAtProgram() {
        bringToRest();
        test::AppProcess& app = *room_.app;
        test::touch("Tessivo", judge_.status());
        const std::size_t before = app.count("[ENGINE] Input monitoring ");
        for (const std::size_t clicks : {1U, 2U}) {
            app.click(215, 295);
            if (!test::eventually(
                    [&] { return app.count("[ENGINE] Input monitoring ") >= before + clicks; },
                    1s)) {
                broken("the program does not answer");
            }
        }
        levels_.emplace(app.id());
        if (const auto growth = trend_.add(*levels_)) {
            broken("it grows: " + *growth);
        }
    }

    void killServer() {
        room_.musician.reset();
        room_.server.kill();
    }
    void restartServer() {
        room_.server.restart();
        room_.feed();
    }
    void killSession() { room_.server.killSession(); }
    void restartSession() {
        room_.server.restartSession();
        room_.plug();
    }
    void unplug() { room_.server.destroyDevice("mic"); }
    void plug() {
        room_.server.createMicrophone("mic", 48000, "FL,FR");
        room_.plug();
    }
    void freeze() { room_.server.freeze(); }
    void thaw() {
        std::this_thread::sleep_for(std::chrono::milliseconds(upTo(1500)));
        room_.server.thaw();
    }
    void changeCycle() { room_.server.set("force-quantum", 256 << upTo(3)); }
    void blockDisk() { room_.disturber.orders().isDiskBlocked = true; }
    void unblockDisk() {
        std::this_thread::sleep_for(std::chrono::milliseconds(upTo(2000)));
        room_.disturber.orders().isDiskBlocked = false;
    }
    void nothing() {}

    // In the middle of a take, more often than not.
    void killProgram() {
        const bool leavesTake = upTo(3) > 0;
        if (leavesTake) {
            bringToRest();
            const std::string begun = "[RECORDER] isRecording = true";
            const std::size_t before = room_.app->count(begun);
            pressAll(judge_.isRecording() ? "space Return" : "period Return", 300);
            if (!test::eventually([&] { return room_.app->count(begun) > before; })) {
                throw std::runtime_error("no take begins");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(500 + upTo(3000)));
        }
        room_.app->kill();
        startProgram();
        if (leavesTake) {
            ++cutOff_;
            test::touch("Tessivo", "Use It");
            room_.app->await("Earlier take in use");
        }
    }
    void endProgram() {
        if (const int result = room_.app->end(SIGTERM); result != 0) {
            broken("it returned " + std::to_string(result));
        }
        startProgram();
    }

    void end() {
        try {
            lookAtProgram();
            if (const int result = room_.app->closeWindow(); result != 0) {
                broken("it returned " + std::to_string(result));
            }
        } catch (const std::exception& error) {
            broken(error.what());
        }
        const fs::path documents = room_.home() / "Documents";
        int files = 0;
        for (const char* const folder :
             {"Documents/LooperFiles", "Documents/SavedLoops", ".local/share/Trash/files"}) {
            std::error_code none;
            for (const auto& entry : fs::directory_iterator(room_.home() / folder, none)) {
                if (entry.path().extension() == ".wav") {
                    ++files;
                    expectReadable(entry.path());
                }
            }
        }
        const std::string library = test::bytesOf(documents / "SavedLoops/library.json");
        const std::string key = R"("filename":")";
        int listed = 0;
        for (std::size_t at = 0; (at = library.find(key, at)) != std::string::npos; ++listed) {
            at += key.size();
            expectReadable(documents / "SavedLoops" /
                           library.substr(at, library.find('"', at) - at));
        }
        std::printf("%d audio files can be read, %d of them are in the library\n", files, listed);
    }
    void expectReadable(const fs::path& file) {
        try {
            LineJudge::lengthOf(file);
        } catch (const std::exception& error) {
            broken(file.string() + ": " + error.what());
        }
    }

    void report() const {
        std::printf("%.0f s: %d keys, %d clicks, %d notes; %d takes with %.0f s of sound, at most "
                    "%.0f ms short, %d saved, %d cut off and used;",
                    seconds(), keys_, clicks_, notes_, judge_.takes(), judge_.soundSeconds(),
                    1e3 * judge_.mostMissing(), judge_.saves(), cutOff_);
        for (const auto& [name, count] : faults_) {
            std::printf(" %s %d,", name.c_str(), count);
        }
        if (levels_) {
            std::printf(" now %d descriptors, %d threads, %.1f MB;", levels_->descriptors,
                        levels_->threads, levels_->megabytes);
        }
        std::printf(" the stage itself failed %d times; %d promises broken\n", stageFailures_,
                    broken_);
        std::fflush(stdout);
    }

    const Clock::time_point begin_ = Clock::now();
    std::mt19937 random_;
    Room room_;
    LineJudge judge_{room_.home(), [this](const std::string& fault) {
                         broken(fault);
                     }};
    Trend trend_;
    std::optional<Levels> levels_;
    std::map<std::string, int> faults_;
    int rounds_ = 0;
    int keys_ = 0;
    int clicks_ = 0;
    int notes_ = 0;
    int cutOff_ = 0;
    int stageFailures_ = 0;
    int broken_ = 0;
};

const std::vector<Soak::Fault> Soak::kFaults{
    {"server killed", 6, &Soak::killServer, &Soak::restartServer},
    {"session manager killed", 3, &Soak::killSession, &Soak::restartSession},
    {"microphone unplugged", 4, &Soak::unplug, &Soak::plug},
    {"server frozen", 3, &Soak::freeze, &Soak::thaw},
    {"cycle changed", 4, &Soak::changeCycle, &Soak::nothing},
    {"disk stalled", 4, &Soak::blockDisk, &Soak::unblockDisk},
    {"program killed", 1, &Soak::killProgram, &Soak::nothing},
    {"program ended", 1, &Soak::endProgram, &Soak::nothing},
};

// The ways in which a server goes and comes.
void restartServer(Room& room, int way) {
    switch (way) {
    case 0:
        break;
    case 1: // devices and their names go before it
        room.server.killSession();
        std::this_thread::sleep_for(100ms);
        break;
    case 2:
        room.server.freeze();
        std::this_thread::sleep_for(300ms);
        break;
    case 3: // again, as soon as it is there
        room.server.kill();
        room.server.restart();
        break;
    default: // the server stays
        room.server.killSession();
        room.server.restartSession();
        return;
    }
    room.server.kill();
    room.server.restart();
}

int restarts(int times, unsigned seed) {
    Room room;
    room.start();
    room.app->await("Input monitoring disabled");
    room.app->press("Return");
    std::this_thread::sleep_for(1s);
    room.app->press("Return");
    room.app->await("Playback started with looping");
    room.musician.reset();

    std::mt19937 random(seed);
    std::vector<double> silences;
    int silent = 0;
    const Levels first(room.app->id());
    Levels most = first;
    for (int i = 1; i <= times; ++i) {
        const int way = std::uniform_int_distribution(0, 4)(random);
        restartServer(room, way);
        const auto back = Clock::now();
        const test::GraphProbe listener("listener", 0, 1, std::size_t{5} * 48000);
        room.server.link("speaker:monitor_FL", "listener:in_0");
        const bool isHeard = test::eventually(
            [&] {
                const auto heard = listener.recording(0);
                return !heard.empty() && heard.back() != 0.0F && room.isLinked();
            },
            kBackWithin);
        if (isHeard) {
            const std::chrono::duration<double, std::milli> silence = Clock::now() - back;
            silences.push_back(silence.count());
            std::sort(silences.begin(), silences.end());
        } else {
            ++silent;
            std::printf("restart %d, way %d: silent\n%s\n", i, way, room.server.links().c_str());
        }
        const Levels now(room.app->id());
        most.descriptors = std::max(most.descriptors, now.descriptors);
        if (i % 50 == 0 || i == times) {
            std::printf("%d restarts: sound after median %.0f ms, worst %.0f ms from the naming of "
                        "the devices, %d times not within 2 s; descriptors %d at first, %d now, "
                        "at most %d; threads %d, %d; %.1f MB, %.1f MB\n",
                        i, silences.empty() ? 0.0 : silences[silences.size() / 2],
                        silences.empty() ? 0.0 : silences.back(), silent, first.descriptors,
                        now.descriptors, most.descriptors, first.threads, now.threads,
                        first.megabytes, now.megabytes);
            std::fflush(stdout);
        }
    }
    const bool grows =
        Levels(room.app->id()).descriptors > first.descriptors + Trend::kMoreDescriptors;
    return silent > 0 || grows ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    const bool onlyRestarts = argc > 1 && argv[1] == std::string_view("restarts");
    const int first = onlyRestarts ? 2 : 1;
    const int number = argc > first ? std::atoi(argv[first]) : onlyRestarts ? 100 : 5;
    const unsigned seed = argc > first + 1
                              ? static_cast<unsigned>(std::strtoul(argv[first + 1], nullptr, 10))
                              : std::random_device()();
    if (number <= 0) {
        std::puts("usage: soak_benchmark [minutes [seed]] | restarts [times [seed]]");
        return 2;
    }
    std::printf("seed %u\n", seed);
    std::fflush(stdout);
    try {
        return onlyRestarts ? restarts(number, seed) : Soak(seed).run(std::chrono::minutes(number));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
