#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioPCMBuffer.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace tessivo::sound {

// An audio file open for reading. Format and length never change after construction and may
// be asked on any thread; seek and read belong to one thread at a time (a scheduled file is
// read by its engine's reader thread alone).
class AudioFileReader {
public:
    // Throws AudioError when the file is missing, unreadable, not audio, or has no frames.
    explicit AudioFileReader(const std::filesystem::path& path);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    const AudioFormat& format() const { return format_; }
    std::int64_t length() const { return length_; } // frames, at least 1

    // Moves to a frame; out of range throws AudioError.
    void seek(std::int64_t frame);

    // Fills whole interleaved frames, as many as the span holds, and returns how many came;
    // fewer only at the end of the file or where the disk failed.
    std::int64_t read(std::span<float> interleaved);

private:
    struct Handle;
    std::unique_ptr<Handle> handle_;
    AudioFormat format_;
    std::int64_t length_ = 0;
};

// Writes a WAV file of 32-bit float samples that grows past 4 GiB as RF64. While it is
// written, the header is brought up to date after the first buffer and then every half
// second, so that whatever ends the process leaves a readable file. Closing (destruction)
// completes it. One thread at a time.
class AudioFileWriter {
public:
    // Creates a new file under that name. A file that already has the name is never written
    // into: it is kept beside the new one, renamed "<stem>-1.wav", "-2" and so on, so that
    // whoever has it open keeps it. Throws AudioError when the file cannot be made; what was
    // there before is then untouched.
    AudioFileWriter(const std::filesystem::path& path, const AudioFileSettings& settings);
    ~AudioFileWriter();
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // Appends all frames of the buffer, whose format must have the file's channel count.
    // Throws AudioError when they could not be written whole; what did get written stays
    // readable and the next call tries again at the end of the file.
    void write(const AudioPCMBuffer& buffer);

    std::int64_t framesWritten() const { return framesWritten_; }

private:
    struct Handle;
    void updateHeader();

    std::unique_ptr<Handle> handle_;
    AudioFileSettings settings_;
    std::int64_t framesWritten_ = 0;
    std::chrono::steady_clock::time_point lastHeaderUpdate_;
    std::vector<float> interleaved_;
};

} // namespace tessivo::sound
