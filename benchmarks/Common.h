#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessivo::benchmark {

// A home folder that nobody else uses, for as long as this lives. Takes are written there.
class PrivateHome {
public:
    PrivateHome() {
        std::string name = (std::filesystem::temp_directory_path() / "tessivo-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no home folder");
        }
        folder_ = name;
        setenv("HOME", folder_.c_str(), 1);
        setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    }
    ~PrivateHome() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;

    const std::filesystem::path& folder() const { return folder_; }

private:
    std::filesystem::path folder_;
};

// Lets the main thread work for that long.
inline void runEventsFor(std::chrono::milliseconds time) {
    QEventLoop loop; // the application's own would close the windows when it quits
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

// Lets the main thread work until a condition holds; false when the time is over first.
template <typename Condition>
bool runEventsUntil(Condition&& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        runEventsFor(std::chrono::milliseconds(1));
    }
    return true;
}

struct Spread {
    double median = 0.0;
    double worst = 0.0; // the one farthest from zero
};

// Of at least one value.
inline Spread spreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const double worst =
        std::abs(values.front()) > std::abs(values.back()) ? values.front() : values.back();
    return {values[values.size() / 2], worst};
}

inline double millisecondsBetween(std::chrono::steady_clock::time_point from,
                                  std::chrono::steady_clock::time_point to) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

inline double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    statm >> pages >> pages;
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e6;
}

// Milliseconds of processor time that the calling thread has had.
inline double cpuTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// What the main thread needs for something: by the clock, and without what other programs of a
// busy machine take from it.
struct Times {
    template <typename Work> void measure(Work&& work) {
        const auto begin = std::chrono::steady_clock::now();
        const double cpuBegin = cpuTime();
        work();
        add(millisecondsBetween(begin, std::chrono::steady_clock::now()), cpuTime() - cpuBegin);
    }
    void add(double byClock, double byCpu) {
        clock.push_back(byClock);
        cpu.push_back(byCpu);
    }

    // True when the thread itself was never longer at it, and there was something to measure.
    bool report(const char* what, double limit) const {
        if (clock.empty()) {
            std::printf("%s: NOTHING MEASURED\n", what);
            return false;
        }
        const auto byClock = spreadOf(clock);
        const auto byCpu = spreadOf(cpu);
        std::printf("%s: median %.2f ms, worst of %zu %.2f ms; processor time median %.2f ms, "
                    "worst %.2f ms\n",
                    what, byClock.median, clock.size(), byClock.worst, byCpu.median, byCpu.worst);
        return byCpu.worst <= limit;
    }

    std::vector<double> clock;
    std::vector<double> cpu;
};

// Measures how long the main thread was away from its event loop at most. The timer itself
// comes every millisecond.
class StallMeter {
public:
    StallMeter() {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, [this] { note(); });
        timer_.start(1);
    }

    double longest() {
        note();
        return longest_;
    }
    // Processor time of the main thread in its longest absence: how much of it was its own work.
    double workOfLongest() const { return work_; }

private:
    void note() {
        const auto now = std::chrono::steady_clock::now();
        const double cpu = cpuTime();
        if (const double absence = millisecondsBetween(last_, now); absence > longest_) {
            longest_ = absence;
            work_ = cpu - lastCpu_;
        }
        last_ = now;
        lastCpu_ = cpu;
    }

    QTimer timer_;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
    double lastCpu_ = cpuTime();
    double longest_ = 0.0;
    double work_ = 0.0;
};

} // namespace tessivo::benchmark
