#pragma once

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
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

private:
    void note() {
        const auto now = std::chrono::steady_clock::now();
        longest_ = std::max(longest_, millisecondsBetween(last_, now));
        last_ = now;
    }

    QTimer timer_;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
    double longest_ = 0.0;
};

} // namespace tessivo::benchmark
