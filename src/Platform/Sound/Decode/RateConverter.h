#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tessivo::sound {

// Converts interleaved audio from one sample rate to another. Its state is kept from call to
// call, so a signal may be cut anywhere. One thread at a time; never the audio callback.
class RateConverter {
public:
    // Rates in Hz. Throws AudioError when their ratio is beyond what can be converted.
    RateConverter(double fromRate, double toRate, std::uint32_t channels);
    ~RateConverter();
    RateConverter(const RateConverter&) = delete;
    RateConverter& operator=(const RateConverter&) = delete;

    // Converts whole frames; the result is valid until the next call, whose input it must not
    // be. endOfInput also returns the frames that the filter still holds. Throws AudioError
    // when the conversion fails.
    std::span<const float> process(std::span<const float> interleaved, bool endOfInput = false);

    // Forgets everything converted so far.
    void reset();

private:
    struct Handle;
    std::unique_ptr<Handle> handle_;
    double ratio_;
    std::uint32_t channels_;
    std::vector<float> output_;
};

} // namespace tessivo::sound
