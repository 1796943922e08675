#include "Platform/Sound/Decode/RateConverter.h"

#include "Platform/Sound/AudioError.h"

#include <samplerate.h>

#include <cmath>
#include <string>

namespace tessivo::sound {

struct RateConverter::Handle {
    SRC_STATE* state = nullptr;

    ~Handle() { src_delete(state); }
};

RateConverter::RateConverter(double fromRate, double toRate, std::uint32_t channels)
    : handle_(std::make_unique<Handle>())
    , ratio_(toRate / fromRate)
    , channels_(channels) {
    int error = 0;
    handle_->state = src_new(SRC_SINC_BEST_QUALITY, static_cast<int>(channels), &error);
    if (handle_->state == nullptr || src_is_valid_ratio(ratio_) == 0) {
        throw AudioError("The sample rate cannot be converted");
    }
    src_set_ratio(handle_->state, ratio_);
}

RateConverter::~RateConverter() = default;

std::span<const float> RateConverter::process(std::span<const float> interleaved, bool endOfInput) {
    std::size_t produced = 0;
    SRC_DATA data{};
    data.data_in = interleaved.data();
    data.input_frames = static_cast<long>(interleaved.size() / channels_);
    data.src_ratio = ratio_;
    data.end_of_input = endOfInput ? 1 : 0;
    for (;;) {
        // Room for the input that is left and for what the filter holds. One call may use only
        // a part of the input, so the loop ends when a call neither reads nor writes.
        const auto room =
            static_cast<std::size_t>(std::ceil(static_cast<double>(data.input_frames) * ratio_)) +
            1024;
        output_.resize((produced + room) * channels_);
        data.data_out = output_.data() + produced * channels_;
        data.output_frames = static_cast<long>(room);
        if (const int error = src_process(handle_->state, &data); error != 0) {
            throw AudioError(std::string("The sample rate could not be converted: ") +
                             src_strerror(error));
        }
        produced += static_cast<std::size_t>(data.output_frames_gen);
        data.data_in += data.input_frames_used * static_cast<long>(channels_);
        data.input_frames -= data.input_frames_used;
        if (data.output_frames_gen == 0 && data.input_frames_used == 0) {
            break;
        }
    }
    return std::span<const float>(output_).first(produced * channels_);
}

void RateConverter::reset() {
    src_reset(handle_->state);
}

} // namespace tessivo::sound
