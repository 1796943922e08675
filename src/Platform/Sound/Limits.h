#pragma once

#include <cstddef>
#include <cstdint>

// Every size and limit of the sound platform, in one place.
namespace tessivo::sound {

// The main mix is stereo; wider inputs and files give their first two channels.
inline constexpr std::uint32_t kGraphChannels = 2;

// Longest stretch that the render plan handles at once; longer cycles are cut.
inline constexpr std::uint32_t kMaxRenderFrames = 8192;

// A disk that blocks for less than this costs no recorded frame.
inline constexpr double kTapQueueSeconds = 40.0;

// Frames in one chunk of the tap queue; memory is touched chunk by chunk as it fills.
inline constexpr std::uint32_t kTapChunkFrames = 1024;

// Length of every audible ramp: gain changes, the monitoring switch, stop and clear.
inline constexpr double kRampSeconds = 0.003;

// Decoded audio that a player node holds ahead of what is heard, and how much of it must
// be there before the first frame is let out.
inline constexpr double kReadAheadSeconds = 2.0;
inline constexpr double kPrimedSeconds = 0.05;

// Frames decoded in one step of the reader thread.
inline constexpr std::uint32_t kReadChunkFrames = 4096;

// Interval of the header updates that keep an unfinished take readable.
inline constexpr double kHeaderUpdateSeconds = 0.5;

} // namespace tessivo::sound
