#include "Platform/Sound/File/AudioFile.h"

#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Limits.h"

#include <sndfile.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessivo::sound {

namespace {

struct CloseSoundFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

// A file descriptor that is closed unless it has been handed on.
class Descriptor {
public:
    explicit Descriptor(int value)
        : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) {
            close(value_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return value_; }
    int release() { return std::exchange(value_, -1); }

private:
    int value_;
};

std::string quoted(const std::filesystem::path& path) {
    return "\"" + path.filename().string() + "\"";
}

AudioError systemError(const std::string& what, const std::filesystem::path& path) {
    const std::string reason = std::generic_category().message(errno);
    return AudioError(what + " " + quoted(path) + ": " + reason);
}

// Gives a file that already has the name another one, so that a new take never takes an
// earlier one away. Linking first and unlinking after means that no moment, and no
// interruption, leaves the earlier file without a name.
void keepBeside(const std::filesystem::path& path) {
    for (int number = 1; number < std::numeric_limits<int>::max(); ++number) {
        const auto other =
            path.parent_path() /
            (path.stem().string() + "-" + std::to_string(number) + path.extension().string());
        if (link(path.c_str(), other.c_str()) == 0) {
            return;
        }
        if (errno == ENOENT) {
            return;
        }
        // Some removable disks know no links; there the file is moved instead.
        if (errno != EEXIST && !std::filesystem::exists(other)) {
            if (rename(path.c_str(), other.c_str()) == 0) {
                return;
            }
            throw systemError("The earlier recording could not be kept:", path);
        }
    }
}

} // namespace

struct AudioFileReader::Handle {
    SoundFile file;
    std::filesystem::path path;
};

AudioFileReader::AudioFileReader(const std::filesystem::path& path)
    : handle_(std::make_unique<Handle>()) {
    // Opening a FIFO or a device would block or mean something else than a loop.
    Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (descriptor.get() < 0) {
        throw systemError("The audio file could not be opened:", path);
    }
    struct stat status {};
    if (fstat(descriptor.get(), &status) != 0) {
        throw systemError("The audio file could not be read:", path);
    }
    if (!S_ISREG(status.st_mode)) {
        throw AudioError("Not an audio file: " + quoted(path));
    }
    SF_INFO info{};
    handle_->path = path;
    handle_->file.reset(sf_open_fd(descriptor.get(), SFM_READ, &info, SF_TRUE));
    if (!handle_->file) {
        throw AudioError("Not an audio file: " + quoted(path) + ": " + sf_strerror(nullptr));
    }
    descriptor.release();
    if (info.frames <= 0 || info.channels <= 0 || info.samplerate <= 0) {
        throw AudioError("The audio file holds no audio: " + quoted(path));
    }
    format_ = AudioFormat(info.samplerate, static_cast<std::uint32_t>(info.channels));
    length_ = info.frames;
}

AudioFileReader::~AudioFileReader() = default;

void AudioFileReader::seek(std::int64_t frame) {
    if (frame < 0 || frame > length_ || sf_seek(handle_->file.get(), frame, SEEK_SET) != frame) {
        throw AudioError("The audio file could not be read: " + quoted(handle_->path) + ": " +
                         sf_strerror(handle_->file.get()));
    }
}

std::int64_t AudioFileReader::read(std::span<float> interleaved) {
    const auto frames = interleaved.size() / format_.channelCount();
    return sf_readf_float(handle_->file.get(), interleaved.data(), static_cast<sf_count_t>(frames));
}

struct AudioFileWriter::Handle {
    SoundFile file;
    std::filesystem::path path;
};

AudioFileWriter::AudioFileWriter(const std::filesystem::path& path,
                                 const AudioFileSettings& settings)
    : handle_(std::make_unique<Handle>())
    , settings_(settings)
    , lastHeaderUpdate_(std::chrono::steady_clock::now()) {
    if (settings.channelCount == 0 || settings.sampleRate < 1.0 ||
        settings.sampleRate > std::numeric_limits<int>::max()) {
        throw AudioError("There is no audio input to record from");
    }
    // Made under a name of its own first, so that a failure leaves what was there as it was.
    std::string temporary = (path.parent_path() / ".take-XXXXXX").string();
    Descriptor descriptor(mkostemp(temporary.data(), O_CLOEXEC));
    if (descriptor.get() < 0) {
        throw systemError("The recording could not be created:", path);
    }
    try {
        const mode_t mask = umask(0);
        umask(mask);
        fchmod(descriptor.get(), 0666 & ~mask);

        SF_INFO info{};
        info.samplerate = static_cast<int>(std::lround(settings.sampleRate));
        info.channels = static_cast<int>(settings.channelCount);
        info.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
        handle_->path = path;
        handle_->file.reset(sf_open_fd(descriptor.get(), SFM_WRITE, &info, SF_TRUE));
        if (!handle_->file) {
            throw AudioError("The recording could not be created: " + quoted(path) + ": " +
                             sf_strerror(nullptr));
        }
        descriptor.release();
        sf_command(handle_->file.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
        updateHeader();
        keepBeside(path);
        if (rename(temporary.c_str(), path.c_str()) != 0) {
            throw systemError("The recording could not be created:", path);
        }
    } catch (...) {
        unlink(temporary.c_str());
        throw;
    }
}

AudioFileWriter::~AudioFileWriter() = default;

void AudioFileWriter::write(const AudioPCMBuffer& buffer) {
    const auto channels = settings_.channelCount;
    if (buffer.format().channelCount() != channels) {
        throw AudioError("The buffer has another number of channels than the recording");
    }
    const auto frames = buffer.frameLength();
    interleaved_.resize(static_cast<std::size_t>(frames) * channels);
    for (std::uint32_t c = 0; c < channels; ++c) {
        const auto samples = buffer.channel(c);
        for (std::size_t i = 0; i < frames; ++i) {
            interleaved_[i * channels + c] = samples[i];
        }
    }
    // A short write may have left part of a frame; the next one starts where it belongs.
    const sf_count_t written = sf_writef_float(handle_->file.get(), interleaved_.data(), frames);
    framesWritten_ += written;
    if (written != static_cast<sf_count_t>(frames)) {
        const std::string reason = sf_strerror(handle_->file.get());
        sf_seek(handle_->file.get(), framesWritten_, SEEK_SET);
        updateHeader();
        throw AudioError("Only " + std::to_string(written) + " of " + std::to_string(frames) +
                         " frames could be written to " + quoted(handle_->path) + ": " + reason);
    }
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> sinceUpdate = now - lastHeaderUpdate_;
    if (framesWritten_ == written || sinceUpdate.count() >= kHeaderUpdateSeconds) {
        updateHeader();
        lastHeaderUpdate_ = now;
    }
}

void AudioFileWriter::updateHeader() {
    sf_command(handle_->file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

} // namespace tessivo::sound
