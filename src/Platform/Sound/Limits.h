#pragma once

#include <cstdint>

// The sizes and limits that decide what is heard, lost or needed of memory. A limit that only one
// source needs stands at the top of that source.
namespace tessivo::sound {

// The main mix is stereo; wider inputs and files give their first two channels.
inline constexpr std::uint32_t kGraphChannels = 2;

// Longest block that the render plan handles at once; longer cycles are cut into several.
inline constexpr std::uint32_t kMaxRenderFrames = 8192;

// How much captured audio waits for a disk that is blocked before frames are lost.
inline constexpr double kTapQueueSeconds = 40.0;

// How much of what was captured last is kept while nobody has asked for it yet: a command may be
// a second old when the main thread begins with it.
inline constexpr double kTapHistorySeconds = 1.25;

// How much of a take's beginning stays in memory.
inline constexpr double kTakeHeadSeconds = 10.0;

// Frames in one chunk of the tap queue; memory is touched chunk by chunk as it fills.
inline constexpr std::uint32_t kTapChunkFrames = 1024;

// Length of every audible ramp: gain changes, the monitoring switch, stop and clear.
inline constexpr double kRampSeconds = 0.003;

// The loudest sample that leaves the main mix, 12 dB above full scale: loops may add up, but what
// is beyond that is no music, and would hurt.
inline constexpr float kLoudestOutput = 4.0F;

// How far ahead of what is heard a player node decodes, and how much of that must be there
// before its first frame is heard.
inline constexpr double kReadAheadSeconds = 2.0;
inline constexpr double kPrebufferSeconds = 0.05;

// Most frames of a file that the reader thread decodes in one step.
inline constexpr std::uint32_t kReadChunkFrames = 4096;

// The rates of files that are played, Hz. What is within can be converted to every rate that a
// sound server runs at.
inline constexpr double kLowestFileRate = 2000.0;
inline constexpr double kHighestFileRate = 1'000'000.0;

} // namespace tessivo::sound
