#include "support/QtTestSupport.h"

#include "Platform/System/LogLine.h"

#include <QCoreApplication>

#include <algorithm>
#include <thread>
#include <utility>

namespace tessivo::test {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

bool runUntil(const std::function<bool()>& condition, milliseconds limit) {
    const auto end = steady_clock::now() + limit;
    while (!condition()) {
        if (steady_clock::now() > end) {
            return false;
        }
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(milliseconds(1));
    }
    return true;
}

void runFor(milliseconds time) {
    const auto end = steady_clock::now() + time;
    runUntil([end] { return steady_clock::now() >= end; }, time + milliseconds(1000));
}

void runPosted() {
    for (int turn = 0; turn < 4; ++turn) {
        QCoreApplication::sendPostedEvents();
    }
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

TemporaryHome::TemporaryHome() {
    qputenv("HOME", folder_.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
}

TemporaryHome::~TemporaryHome() {
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

std::filesystem::path pathOf(const QUrl& url) {
    return url.toLocalFile().toStdString();
}

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

} // namespace tessivo::test
