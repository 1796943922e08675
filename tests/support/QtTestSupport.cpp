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

bool CapturedLines::contains(const std::string& line) const {
    const std::scoped_lock lock(mutex_);
    return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
}

TemporaryHome::TemporaryHome()
    : previousHome_(qgetenv("HOME"))
    , previousConfig_(qgetenv("XDG_CONFIG_HOME")) {
    qputenv("HOME", folder_.path().toUtf8());
    qunsetenv("XDG_CONFIG_HOME");
}

TemporaryHome::~TemporaryHome() {
    qputenv("HOME", previousHome_);
    if (!previousConfig_.isEmpty()) {
        qputenv("XDG_CONFIG_HOME", previousConfig_);
    }
}

std::filesystem::path pathOf(const QUrl& url) {
    return url.toLocalFile().toStdString();
}

QUrl urlOf(const std::filesystem::path& path) {
    return QUrl::fromLocalFile(QString::fromStdString(path.string()));
}

} // namespace tessivo::test
