#pragma once

#include <memory>
#include <span>
#include <vector>

namespace tessivo::sound {

// Converts interleaved audio from one sample rate to another, carrying its state from call
// to call so that a stream may be cut anywhere. One thread at a time; never the callback.
class RateConverter {
public:
    RateConverter(double fromRate, double toRate, std::uint32_t channels); // Hz
    ~RateConverter();
    RateConverter(const RateConverter&) = delete;
    RateConverter& operator=(const RateConverter&) = delete;

    // Converts whole frames; the result is valid until the next call. endOfInput lets out
    // what the filter still holds.
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
