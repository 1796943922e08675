#pragma once

#include "Platform/System/Paths.h"
#include "support/OfflineRig.h"

#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

// Found by GoogleTest through the argument's namespace, which is the global one.
inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}

namespace tessivo::test {

using Lines = std::vector<std::string>;

// Runs the event loop until the condition holds. False when it still does not at the limit, which
// is a timer of that loop: what is due before it has had its turn, however busy the machine is.
bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit = kPatience);

// Whether the condition holds at that moment: nothing that is due later has had its turn either.
bool holdsAfter(std::chrono::milliseconds time, const std::function<bool()>& condition);

// Runs the event loop for that long.
void runFor(std::chrono::milliseconds time);

// Runs what is posted, and what that posts, without waiting for more.
void runPosted();

// Runs everything that is posted and in the background, and what follows from it.
void settle();

// While it lives nothing begins in the background, as on a disk that does not answer. At its end
// everything does.
class StalledDisk {
public:
    StalledDisk();
    ~StalledDisk();
    StalledDisk(const StalledDisk&) = delete;
    StalledDisk& operator=(const StalledDisk&) = delete;

private:
    std::promise<void> answer_;
};

// Takes the place of standard output for diagnostic lines, in order, from all threads.
class CapturedLines {
public:
    CapturedLines();
    ~CapturedLines();
    CapturedLines(const CapturedLines&) = delete;
    CapturedLines& operator=(const CapturedLines&) = delete;

    // The lines since the last call.
    Lines take();

private:
    std::mutex mutex_;
    Lines lines_;
};

// A home of the test's own, empty at first but for the folder of the saved loops. All homes of
// a process are in one place, because the process looks that folder up only once.
class TemporaryHome {
public:
    TemporaryHome();
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    static std::filesystem::path path();
    static std::filesystem::path recordings() { return path() / "Documents" / "LooperFiles"; }
    static std::filesystem::path savedLoops() { return path() / "Documents" / "SavedLoops"; }
    static std::filesystem::path trash() { return path() / ".local/share/Trash/files"; }

private:
    QByteArray previousHome_ = qgetenv("HOME");
    QByteArray previousConfig_ = qgetenv("XDG_CONFIG_HOME");
};

// What the device puts out with nothing played in, at three times a real one's pace.
Channels hear(sound::OfflineDevice& device, std::size_t frames);

// The same from the first sound on, for which it waits as long as the reader takes.
Channels hearStart(sound::OfflineDevice& device, std::size_t frames);

// A loop of that pass, heard for that long.
std::vector<float> repeated(const std::vector<float>& pass, std::size_t frames);

} // namespace tessivo::test
