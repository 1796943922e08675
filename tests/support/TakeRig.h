#pragma once

#include "support/OfflineRig.h"

namespace tessivo::test {

// Collects what a tap delivers.
struct Take {
    Channels samples;
    std::vector<std::uint32_t> lengths;
    bool contiguous = true;

    sound::TapHandler block() {
        return [this](const sound::AudioPCMBuffer& buffer, const sound::AudioTime& time) {
            contiguous =
                contiguous && (samples.empty() ||
                               time.sampleTime == static_cast<std::int64_t>(samples[0].size()));
            samples.resize(buffer.format().channelCount());
            for (std::uint32_t c = 0; c < samples.size(); ++c) {
                const auto channel = buffer.channel(c);
                samples[c].insert(samples[c].end(), channel.begin(), channel.end());
            }
            lengths.push_back(buffer.frameLength());
        };
    }
};

// An engine whose cycles have a clock and whose input is metered; it knows all that was captured
// and all that was heard, by position. The latencies are whole frames at 48 kHz.
struct TakeRig : OfflineRig {
    static constexpr std::int64_t kInput = 960;
    static constexpr std::int64_t kOutput = 480;

    explicit TakeRig(std::size_t cycle, sound::AudioDevice::Formats deviceFormats = formats(2))
        : OfflineRig(deviceFormats)
        , quantum(cycle) {
        device->setLatencies(kInput / 48000.0, kOutput / 48000.0);
        device->startClock();
        origin = device->time();
        engine->inputNode().setMeter(2048, [](const auto&, bool) {});
        engine->start();
    }

    // Whole cycles, until that many frames have passed.
    void play(std::size_t frames) {
        for (std::size_t done = 0; done < frames; done += quantum) {
            Channels cycle(2, std::vector<float>(quantum));
            for (std::size_t i = 0; i < quantum; ++i) {
                const std::size_t at = captured[0].size() + i;
                cycle[0][i] = pitched ? sineAt(at, 48000.0) : material[at % material.size()];
                cycle[1][i] = -cycle[0][i];
            }
            append(captured, cycle);
            append(heard, device->turn(static_cast<std::uint32_t>(quantum), cycle));
        }
    }
    void lose(std::uint32_t frames) {
        device->lose(frames);
        append(captured, Channels(2, std::vector<float>(frames)));
        append(heard, Channels(2, std::vector<float>(frames)));
    }
    Moment momentOf(std::size_t frame) const {
        const std::chrono::duration<double> since(static_cast<double>(frame) / 48000.0);
        return origin + std::chrono::round<Moment::duration>(since);
    }

    std::size_t quantum;
    bool pitched = false;
    const std::vector<float> material = noise(1'000'003, 1);
    Moment origin;
    Channels captured{2};
    Channels heard{2};
};

} // namespace tessivo::test
