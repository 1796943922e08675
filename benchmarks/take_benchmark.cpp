// What happens to a take when things go wrong around it. The real controller, recorder and
// engine run over an offline device that is turned at the pace of a sound card, and the
// program stands in for the system's write() to block or fill the disk.
//
//   take_benchmark stall [seconds]   the file system blocks while recording
//   take_benchmark full              the disk fills up while recording
//   take_benchmark kill [times]      kill -9 at random moments of a recording

#include "Common.h"
#include "RealTimeTurner.h"

#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/LogLine.h"
#include "Utils/AudioUtils.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tessivo;
using tessivo::benchmark::RealTimeTurner;

namespace {

constexpr double kRate = 48000.0;
constexpr int kBufferFrames = 2048;

std::atomic<bool> diskBlocked = false;
std::atomic<long> diskSpace = std::numeric_limits<long>::max(); // bytes left

bool isRegularFile(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

extern "C" ssize_t write(int descriptor, const void* data, std::size_t size) {
    if (isRegularFile(descriptor)) {
        while (diskBlocked) {
            usleep(1000);
        }
        if (diskSpace < static_cast<long>(size)) {
            if (diskSpace <= 0) {
                errno = ENOSPC;
                return -1;
            }
            size = static_cast<std::size_t>(diskSpace.load());
        }
    }
    const auto written = syscall(SYS_write, descriptor, data, size);
    if (written > 0 && isRegularFile(descriptor)) {
        diskSpace -= written;
    }
    return written;
}

namespace {

// A controller over a turned device, in a home folder of its own.
class Looper {
public:
    Looper()
        : controller([this] {
            auto owned = std::make_unique<sound::OfflineDevice>(sound::AudioDevice::Formats{
                sound::AudioFormat(kRate, 2), sound::AudioFormat(kRate, 2), kRate});
            device = owned.get();
            return owned;
        }())
        , turner(*device) {}

    void wait(int milliseconds) {
        benchmark::runEventsFor(std::chrono::milliseconds(milliseconds));
    }

    std::filesystem::path takePath() {
        return controller.loopState()->fileURL().toLocalFile().toStdString();
    }

    sound::OfflineDevice* device = nullptr;
    SimpleLooperViewModel controller;
    RealTimeTurner turner;
};

// Frames of the file that continue the counting input without a break; -1 if any does not.
std::int64_t contiguousFrames(const std::filesystem::path& path) {
    sound::AudioFileReader reader(path);
    const auto channels = reader.format().channelCount();
    std::vector<float> block(4096 * static_cast<std::size_t>(channels));
    std::int64_t frames = 0;
    double first = 0.0;
    for (;;) {
        const auto got = reader.read(block);
        if (got == 0) {
            return frames;
        }
        for (std::int64_t i = 0; i < got; ++i, ++frames) {
            const auto sample = static_cast<double>(block[static_cast<std::size_t>(i) * channels]);
            const double number = sample * static_cast<double>(RealTimeTurner::kPeriod);
            if (frames == 0) {
                first = number;
            } else if (number != first + static_cast<double>(frames)) {
                return -1;
            }
        }
    }
}

int stall(int seconds) {
    Looper looper;
    looper.wait(200);
    looper.controller.recordButtonPressed();
    const auto begin = looper.turner.framesTurned();
    looper.wait(1000);
    diskBlocked = true;
    looper.wait(1000 * seconds);
    diskBlocked = false;
    looper.wait(2000);
    const auto end = looper.turner.framesTurned();
    looper.controller.stopButtonPressed();
    looper.wait(100);
    const auto frames = contiguousFrames(looper.takePath());
    std::printf("file system blocked for %d s: %lld frames from press to press, %lld in the "
                "take, %s\n",
                seconds, static_cast<long long>(end - begin), static_cast<long long>(frames),
                frames < 0 ? "NOT contiguous" : "contiguous bit for bit");
    return frames >= end - begin - 64 ? 0 : 1;
}

int full() {
    std::mutex mutex;
    int failedBuffers = 0;
    Looper looper;
    setLogSink([&](std::string_view line) {
        const std::lock_guard lock(mutex);
        failedBuffers += line.starts_with("❌ [RECORDER TAP ERROR]") ? 1 : 0;
    });
    looper.wait(200);
    looper.controller.recordButtonPressed();
    diskSpace = 2'000'001;
    looper.wait(8000);
    looper.controller.stopButtonPressed();
    looper.wait(100);
    setLogSink({});
    const auto frames = contiguousFrames(looper.takePath());
    std::printf("disk full after 2 MB: %lld frames readable (%.1f KB of samples), %s, one "
                "line for each of %d failed buffers\n",
                static_cast<long long>(frames), static_cast<double>(frames) * 8.0 / 1000.0,
                frames < 0 ? "NOT contiguous" : "contiguous bit for bit", failedBuffers);
    return frames > 0 && failedBuffers > 0 ? 0 : 1;
}

// What the victim tells the killer while it records.
struct Progress {
    std::atomic<std::int64_t> begin = -1; // frame at which the take began
    std::atomic<std::int64_t> now = 0;
};

[[noreturn]] void victim(Progress& progress) {
    Looper looper;
    looper.wait(50);
    looper.controller.recordButtonPressed();
    progress.begin = looper.turner.framesTurned();
    for (;;) {
        looper.wait(1);
        progress.now = looper.turner.framesTurned();
    }
}

int killAtRandom(int times, char** argv) {
    std::mt19937 random(20'26);
    std::uniform_int_distribution<int> delay(60, 2600);
    std::int64_t worst = 0;
    int unreadable = 0;
    int tooShort = 0;
    int refusedBySox = 0;
    constexpr std::int64_t limit = 2 * kBufferFrames;
    auto* progress = new (mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                               MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Progress;
    const std::filesystem::path folder =
        AudioUtils::getLooperRecordingsDirectory().toLocalFile().toStdString();
    for (int i = 0; i < times; ++i) {
        std::filesystem::remove_all(folder);
        progress->begin = -1;
        const pid_t child = fork();
        if (child == 0) {
            int argc = 1;
            QCoreApplication application(argc, argv);
            setLogSink([](std::string_view) {});
            victim(*progress);
        }
        while (progress->begin < 0) {
            usleep(1000);
        }
        usleep(static_cast<useconds_t>(1000 * delay(random)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        const auto captured = progress->now - progress->begin;
        std::int64_t frames = -1;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().extension() != ".wav") {
                continue; // the take's mark
            }
            try {
                frames = contiguousFrames(entry.path());
            } catch (const std::exception& error) {
                // A kill before the first buffer leaves a valid file without frames.
                frames = captured <= 2 * kBufferFrames ? 0 : -1;
                std::printf("  %s\n", error.what());
            }
            const std::string command = "soxi " + entry.path().string() + " > /dev/null 2>&1";
            refusedBySox += std::system(command.c_str()) == 0 ? 0 : 1;
        }
        unreadable += frames < 0 ? 1 : 0;
        tooShort += captured - frames > limit ? 1 : 0;
        worst = std::max(worst, captured - frames);
    }
    std::printf("kill -9 at %d random moments: %d unreadable, %d refused by sox, %d more than "
                "two buffers short; worst %.0f ms short (limit %.0f ms)\n",
                times, unreadable, refusedBySox, tooShort,
                1000.0 * static_cast<double>(worst) / kRate,
                1000.0 * static_cast<double>(limit) / kRate);
    return unreadable + tooShort + refusedBySox == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const benchmark::PrivateHome home;
    const std::string command = argc > 1 ? argv[1] : "";
    const int number = argc > 2 ? std::atoi(argv[2]) : 0;
    int result = 2;
    if (command == "kill") {
        // Each victim is forked before there is any Qt or any thread here.
        result = killAtRandom(number > 0 ? number : 200, argv);
    } else if (command == "stall" || command == "full") {
        QCoreApplication application(argc, argv);
        setLogSink([](std::string_view) {});
        result = command == "stall" ? stall(number > 0 ? number : 30) : full();
    } else {
        std::puts("usage: take_benchmark stall [seconds] | full | kill [times]");
    }
    return result;
}
