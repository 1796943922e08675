#include "support/QtTestSupport.h"

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/LogLine.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <optional>
#include <utility>

namespace tessivo::test {

using std::chrono::milliseconds;

bool runUntil(const std::function<bool()>& condition, milliseconds limit) {
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    timer.start(limit);
    for (;;) {
        QCoreApplication::processEvents();
        if (condition()) {
            return true;
        }
        if (!timer.isActive()) {
            return false;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
}

bool holdsAfter(milliseconds time, const std::function<bool()>& condition) {
    std::optional<bool> held;
    QTimer::singleShot(time, Qt::PreciseTimer, [&] { held = condition(); });
    return runUntil([&] { return held.has_value(); }) && *held;
}

void runFor(milliseconds time) {
    runUntil([] { return false; }, time);
}

void runPosted() {
    for (int turn = 0; turn < 8; ++turn) {
        QCoreApplication::sendPostedEvents();
    }
}

void settle() {
    // A load that fails, rebuilds and saves passes between the threads five times.
    for (int turn = 0; turn < 8; ++turn) {
        BackgroundQueue::waitForAll();
        runPosted();
    }
}

StalledDisk::StalledDisk() {
    const auto wait = [until = answer_.get_future().share()] {
        until.wait();
    };
    BackgroundQueue::postInOrder(wait);
    constexpr int kMoreThanThereAreThreads = 64;
    for (int thread = 0; thread < kMoreThanThereAreThreads; ++thread) {
        BackgroundQueue::post(BackgroundQueue::Priority::userInitiated, wait);
    }
}

StalledDisk::~StalledDisk() {
    answer_.set_value();
    settle();
}

CapturedLines::CapturedLines() {
    setLogSink([this](std::string_view line) {
        const std::scoped_lock lock(mutex_);
        lines_.emplace_back(line);
    });
}

CapturedLines::~CapturedLines() {
    setLogSink({});
}

Lines CapturedLines::take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(lines_, {});
}

std::filesystem::path TemporaryHome::path() {
    static const QTemporaryDir folder;
    return folder.path().toStdString();
}

TemporaryHome::TemporaryHome() {
    qputenv("HOME", path().c_str());
    qunsetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_DATA_HOME");
    for (const auto& left : std::filesystem::directory_iterator(path())) {
        std::filesystem::remove_all(left);
    }
    std::filesystem::create_directories(savedLoops());
}

TemporaryHome::~TemporaryHome() {
    settle(); // nothing of this test's writes into the next one's home
    qputenv("HOME", previousHome_);
    if (!previousConfig_.isEmpty()) {
        qputenv("XDG_CONFIG_HOME", previousConfig_);
    }
}

namespace {

constexpr std::uint32_t kCycle = 480; // 10 ms

} // namespace

Channels hear(sound::OfflineDevice& device, std::size_t frames) {
    Channels heard(2);
    for (std::size_t at = 0; at < frames; at += kCycle) {
        append(heard,
               device.turn(static_cast<std::uint32_t>(std::min<std::size_t>(kCycle, frames - at))));
        runFor(milliseconds(3));
    }
    return heard;
}

Channels hearStart(sound::OfflineDevice& device, std::size_t frames) {
    Channels heard;
    runUntil([&] {
        heard = device.turn(kCycle);
        return heard[0][0] != 0.0F;
    });
    runFor(milliseconds(100)); // a real device would not be faster than the disk either
    append(heard, hear(device, frames - kCycle));
    return heard;
}

std::vector<float> repeated(const std::vector<float>& pass, std::size_t frames) {
    std::vector<float> result(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        result[i] = pass[i % pass.size()];
    }
    return result;
}

} // namespace tessivo::test
