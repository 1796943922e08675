// What a looper costs: processor time of the program and of the sound server together, in
// percent of a core, while sound comes from the microphone. Tessivo, with its window and a
// controller connected, and SooperLooper, where it is installed, without its window, take turns
// on one private server, so that whatever else the machine does meets both.
//
//   cost_benchmark [seconds [rounds [cycle]]]
//
// Without a cycle those of 64, 256 and 1024 frames are tried. The server alone, which plays and
// listens as well, is part of every figure and printed for comparison. What the display costs
// is not counted.

#include "Loopers.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <thread>

using namespace tessivo;
using namespace tessivo::benchmark;
using namespace std::chrono_literals;

namespace {

// Seconds of processor time that all threads of a process have had.
double processorTime(pid_t id) {
    std::ifstream file("/proc/" + std::to_string(id) + "/stat");
    std::string stat{std::istreambuf_iterator<char>(file), {}};
    const std::size_t name = stat.rfind(')'); // which may contain anything
    if (name == std::string::npos) {
        throw std::runtime_error("the process " + std::to_string(id) + " has ended");
    }
    std::istringstream fields(stat.substr(name + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field) {
        fields >> skipped;
    }
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct Cost {
    std::vector<double> program; // percent of a core, of each round
    std::vector<double> server;
};

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

class Bench {
public:
    Bench(int quantum, double seconds)
        : seconds_(seconds)
        , server_(quantum)
        , musician_(Musician::Sound::tone) {
        server_.link("musician:out_0", "mic:input_FL");
        server_.link("musician:out_1", "mic:input_FR");
    }

    void round() {
        measure("server alone", 0);
        visit([this] { return std::make_unique<Tessivo>(server_, musician_); });
        if (Peer::isInstalled()) {
            visit([this] { return std::make_unique<Peer>(server_); });
        }
    }

    void report() const {
        for (const auto& [what, cost] : costs_) {
            std::printf("cycle of %d frames, %s: program and server %.2f %% of a core (program "
                        "%.2f, server %.2f; medians of %zu rounds of %.0f s)\n",
                        server_.quantum(), what.c_str(), sum(cost), medianOf(cost.program),
                        medianOf(cost.server), cost.server.size(), seconds_);
        }
        std::fflush(stdout);
    }

private:
    static double sum(const Cost& cost) {
        std::vector<double> both;
        for (std::size_t i = 0; i < cost.server.size(); ++i) {
            both.push_back(cost.program[i] + cost.server[i]);
        }
        return medianOf(both);
    }

    // Idle, and with a loop of a second that sounds.
    template <typename Make> void visit(Make&& make) {
        const std::unique_ptr<Looper> looper = make();
        const std::string name = looper->name();
        measure(name + ", idle", looper->id());
        looper->press();
        std::this_thread::sleep_for(1s);
        looper->press();
        looper->awaitLoop();
        measure(name + ", looping", looper->id());
        looper->stop();
    }

    void measure(const std::string& what, pid_t id) {
        std::this_thread::sleep_for(2s); // for what it begins with
        const auto begin = std::chrono::steady_clock::now();
        const double program = id > 0 ? processorTime(id) : 0.0;
        const double server = processorTime(server_.id());
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds_));
        const double percent =
            100.0 / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        Cost& cost = costs_[what];
        cost.program.push_back(percent * ((id > 0 ? processorTime(id) : 0.0) - program));
        cost.server.push_back(percent * (processorTime(server_.id()) - server));
    }

    const double seconds_;
    MeasuredServer server_;
    Musician musician_;
    std::map<std::string, Cost> costs_;
};

} // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 20.0;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    const int quantum = argc > 3 ? std::atoi(argv[3]) : 0;
    if (seconds <= 0.0 || rounds <= 0) {
        std::puts("usage: cost_benchmark [seconds [rounds [cycle]]]");
        return 2;
    }
    if (!Peer::isInstalled()) {
        std::puts("SooperLooper is not installed (scripts/packages.sh peer): Tessivo alone");
    }
    try {
        const test::VirtualDisplay display;
        for (const int frames : {64, 256, 1024}) {
            if (quantum == 0 || quantum == frames) {
                Bench bench(frames, seconds);
                for (int round = 0; round < rounds; ++round) {
                    bench.round();
                }
                bench.report();
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
