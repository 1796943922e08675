#include "Platform/Sound/Device/PublishedFormats.h"

#include <utility>

namespace tessivo::sound {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kReturnTime = 5s;

// A device that comes or goes changes the formats; this is about one that replaces another.
bool isReplaced(std::string& known, const std::string& now) {
    const std::string before = std::exchange(known, now);
    return !before.empty() && !now.empty() && before != now;
}

} // namespace

AudioDevice::Formats PublishedFormats::get() const {
    const std::scoped_lock lock(mutex_);
    return formats_;
}

void PublishedFormats::connected() {
    inputSerial_.clear();
    outputSerial_.clear();
}

void PublishedFormats::awaitReturn() {
    returnDeadline_ = Clock::now() + kReturnTime;
}

bool PublishedFormats::update(const PipeWireDefaults& defaults, std::optional<double> fixedRate) {
    const PipeWireDefaults::Device source = defaults.source();
    const PipeWireDefaults::Device sink = defaults.sink();
    AudioDevice::Formats now{source.format, sink.format, 0.0, source.name, sink.name};
    if (returnDeadline_) {
        const bool inputMissing =
            now.input.channelCount() == 0 && formats_.input.channelCount() > 0;
        const bool outputMissing =
            now.output.channelCount() == 0 && formats_.output.channelCount() > 0;
        if ((!inputMissing && !outputMissing) || Clock::now() >= *returnDeadline_) {
            returnDeadline_.reset();
        } else {
            if (inputMissing) {
                now.input = formats_.input;
                now.inputName = formats_.inputName;
            }
            if (outputMissing) {
                now.output = formats_.output;
                now.outputName = formats_.outputName;
            }
        }
    }
    now.renderRate = fixedRate ? *fixedRate : defaults.renderRate(now.input.sampleRate());
    const bool inputReplaced = isReplaced(inputSerial_, source.serial);
    const bool outputReplaced = isReplaced(outputSerial_, sink.serial);
    const std::scoped_lock lock(mutex_);
    return std::exchange(formats_, now) != now || inputReplaced || outputReplaced;
}

} // namespace tessivo::sound
