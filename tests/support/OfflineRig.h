#pragma once

#include "Platform/Sound/AudioEngine.h"
#include "Platform/Sound/File/AudioFile.h"
#include "support/Basics.h"
#include "support/OfflineDevice.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace tessivo::test {

using Channels = sound::OfflineDevice::Channels;

// A main thread that runs posted tasks when the test says so.
class ManualExecutor {
public:
    sound::MainExecutor executor() {
        return [this](std::function<void()> task) {
            const std::lock_guard lock(mutex_);
            tasks_.push_back(std::move(task));
        };
    }

    void run() {
        for (;;) {
            std::function<void()> task;
            {
                const std::lock_guard lock(mutex_);
                if (tasks_.empty()) {
                    return;
                }
                task = std::move(tasks_.front());
                tasks_.pop_front();
            }
            task();
        }
    }

    // Runs tasks until the condition holds; false when it still does not at the limit.
    bool runUntil(const std::function<bool()>& condition) {
        const auto holds = [&] {
            run();
            return condition();
        };
        return eventually(holds);
    }

private:
    std::mutex mutex_;
    std::deque<std::function<void()>> tasks_;
};

inline sound::AudioDevice::Formats formats(std::uint32_t inputChannels, double inputRate = 48000.0,
                                           double outputRate = 48000.0,
                                           double renderRate = 48000.0) {
    return {sound::AudioFormat(inputRate, inputChannels), sound::AudioFormat(outputRate, 2),
            renderRate};
}

// An engine over an offline device.
struct OfflineRig {
    explicit OfflineRig(sound::AudioDevice::Formats deviceFormats = formats(2)) {
        auto owned = std::make_unique<sound::OfflineDevice>(deviceFormats);
        device = owned.get();
        engine = std::make_unique<sound::AudioEngine>(std::move(owned), main.executor(),
                                                      [this](const std::string& line) {
                                                          const std::lock_guard lock(linesMutex);
                                                          lines.push_back(line);
                                                      });
    }

    ManualExecutor main;
    sound::OfflineDevice* device = nullptr;
    std::mutex linesMutex;
    std::vector<std::string> lines;
    std::unique_ptr<sound::AudioEngine> engine;
};

// Samples whose bits are all over the place, so that any arithmetic on them shows; negative
// zero is among them.
inline std::vector<float> noise(std::size_t frames, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> samples(-1.0F, 1.0F);
    std::vector<float> result(frames);
    for (auto& sample : result) {
        sample = samples(random);
    }
    if (frames > 2) {
        result[1] = -0.0F;
    }
    return result;
}

inline std::vector<float> slice(const std::vector<float>& samples, std::size_t from,
                                std::size_t count) {
    return {samples.begin() + static_cast<std::ptrdiff_t>(from),
            samples.begin() + static_cast<std::ptrdiff_t>(from + count)};
}

inline void append(Channels& to, const Channels& from) {
    to.resize(from.size());
    for (std::size_t c = 0; c < from.size(); ++c) {
        to[c].insert(to[c].end(), from[c].begin(), from[c].end());
    }
}

// A sine of 1000 Hz, and how far samples are from it at worst between those frames.
inline float sineAt(std::size_t frame, double rate) {
    return static_cast<float>(
        std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(frame) / rate));
}
inline std::vector<float> sine(std::size_t frames, double rate) {
    std::vector<float> samples(frames);
    for (std::size_t i = 0; i < frames; ++i) {
        samples[i] = sineAt(i, rate);
    }
    return samples;
}
inline float worstError(const std::vector<float>& samples, double rate, std::size_t from,
                        std::size_t to) {
    float worst = 0.0F;
    for (std::size_t i = from; i < to; ++i) {
        worst = std::max(worst, std::abs(samples[i] - sineAt(i, rate)));
    }
    return worst;
}

// Index of the first sample whose bits differ, or -1.
inline std::int64_t firstDifference(const std::vector<float>& a, const std::vector<float>& b) {
    const auto same = [](float x, float y) {
        return std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y);
    };
    const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end(), same);
    return x == a.end() && y == b.end() ? -1 : x - a.begin();
}

// Writes a WAV file of those channels, in the place of any other.
inline void writeFile(const std::filesystem::path& path, double rate, const Channels& channels) {
    const auto frames = static_cast<std::uint32_t>(channels.front().size());
    const sound::AudioFormat format(rate, static_cast<std::uint32_t>(channels.size()));
    sound::AudioPCMBuffer buffer(format, frames);
    buffer.setFrameLength(frames);
    for (std::uint32_t c = 0; c < channels.size(); ++c) {
        std::copy(channels[c].begin(), channels[c].end(), buffer.channel(c).begin());
    }
    std::filesystem::remove(path);
    sound::AudioFileWriter(path, format.settings()).write(buffer);
}

inline Channels readFile(const std::filesystem::path& path) {
    sound::AudioFileReader reader(path);
    const auto channels = reader.format().channelCount();
    std::vector<float> interleaved(static_cast<std::size_t>(reader.length()) * channels);
    const auto frames = static_cast<std::size_t>(reader.read(interleaved));
    Channels result(channels, std::vector<float>(frames));
    for (std::size_t i = 0; i < frames * channels; ++i) {
        result[i % channels][i / channels] = interleaved[i];
    }
    return result;
}

} // namespace tessivo::test
