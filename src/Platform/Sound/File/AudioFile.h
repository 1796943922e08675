#pragma once

#include "Platform/Sound/AudioFormat.h"
#include "Platform/Sound/AudioPCMBuffer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace tessivo::files {
class AtomicFile;
class FileDescriptor;
} // namespace tessivo::files

namespace tessivo::sound {

// An audio file that is open for reading. format() and length() may be called on any thread;
// seek() and read() on one thread at a time. A scheduled file is read only by its engine's
// reader thread.
class AudioFileReader {
public:
    // Throws AudioError when the file is missing, unreadable, not audio, or has no frames.
    explicit AudioFileReader(const std::filesystem::path& path);
    ~AudioFileReader();
    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    const AudioFormat& format() const { return format_; }
    std::int64_t length() const { return length_; } // frames, at least 1
    // Whether that is known, and no estimate as with MP3.
    bool isLengthExact() const { return isLengthExact_; }
    // Whether it is what AudioFileWriter writes: WAV of 32-bit float samples.
    bool isFloatWav() const { return isFloatWav_; }

    // Goes to a frame. Throws AudioError when it is out of range.
    void seek(std::int64_t frame);

    // Reads as many whole interleaved frames as the span holds and returns their number. It is
    // smaller only at the end of the file or when the disk fails.
    std::int64_t read(std::span<float> interleaved);

private:
    struct Handle;
    std::unique_ptr<Handle> handle_;
    AudioFormat format_;
    std::int64_t length_ = 0;
    bool isLengthExact_ = false;
    bool isFloatWav_ = false;
};

// Opens a file that is to be heard. Throws AudioError also when its rate is so extreme that it
// cannot be converted.
std::shared_ptr<AudioFileReader> openForPlaying(const std::filesystem::path& path);

// Writes a WAV file of 32-bit float samples, which becomes RF64 when it grows past 4 GiB. The
// header is updated with every buffer, so that all that was written can be read whenever the
// process ends. The destructor completes and closes it. One thread at a time.
class AudioFileWriter {
public:
    // Creates a new file. A file that has the name keeps it: the new one is "<stem>-1.wav", "-2"
    // and so on. Throws AudioError when the file cannot be created.
    AudioFileWriter(const std::filesystem::path& path, const AudioFileSettings& settings);
    // Writes into a new file that is open, and that gets this path from its owner afterwards. The
    // owner completes it when this has gone.
    AudioFileWriter(files::AtomicFile& file, const std::filesystem::path& path,
                    const AudioFileSettings& settings);
    ~AudioFileWriter();
    AudioFileWriter(const AudioFileWriter&) = delete;
    AudioFileWriter& operator=(const AudioFileWriter&) = delete;

    // Removes files that killed programs had not given their names yet.
    static void removeStale(const std::filesystem::path& folder);

    // Appends all frames of the buffer, which must have the file's channel count. Throws
    // AudioError when not all could be written; those that were stay readable, and the next call
    // appends after them.
    void write(const AudioPCMBuffer& buffer);
    // The same for whole interleaved frames.
    void write(std::span<const float> interleaved);

    // Takes back all frames behind the first `frames`. Harmless when there are no more. Throws
    // AudioError when the file cannot be made shorter; it is then as before.
    void cut(std::int64_t frames);

    // The name that it was or will be given.
    const std::filesystem::path& path() const;

    std::int64_t framesWritten() const { return framesWritten_; }

private:
    struct Handle;
    void begin(files::FileDescriptor& descriptor, const std::filesystem::path& path);
    void updateHeader();

    std::unique_ptr<Handle> handle_;
    AudioFileSettings settings_;
    std::int64_t framesWritten_ = 0;
    std::vector<float> interleaved_;
};

} // namespace tessivo::sound
