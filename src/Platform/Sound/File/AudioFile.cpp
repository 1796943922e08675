#include "Platform/Sound/File/AudioFile.h"

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/Folder.h"
#include "Platform/Sound/AudioError.h"
#include "Platform/Sound/Limits.h"

#include <sndfile.h>

#include <cmath>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <system_error>

namespace tessivo::sound {

namespace {

constexpr auto kTakeWithoutName = ".take-";
constexpr auto kNotCreated = "The recording could not be created:";

struct CloseSoundFile {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

AudioError failure(const std::string& what, const std::filesystem::path& path,
                   const std::string& reason) {
    return AudioError(what + " \"" + path.filename().string() + "\"" + reason);
}

AudioError systemFailure(const std::string& what, const std::filesystem::path& path,
                         const std::system_error& error) {
    return failure(what, path, ": " + error.code().message());
}

// The library's last failure with this file, or with opening one.
AudioError soundFailure(const std::string& what, const std::filesystem::path& path, SNDFILE* file) {
    return failure(what, path, std::string(": ") + sf_strerror(file));
}

// The library closes the descriptor in any case, also when it cannot use the file. So it must
// no longer be ours: what we closed after that could be another thread's.
SoundFile handedOver(files::FileDescriptor& descriptor, int mode, SF_INFO& info) {
    return SoundFile(sf_open_fd(descriptor.release(), mode, &info, SF_TRUE));
}

bool isLittleEndianFloatWav(int format) {
    const int type = format & SF_FORMAT_TYPEMASK;
    return (type == SF_FORMAT_WAV || type == SF_FORMAT_WAVEX || type == SF_FORMAT_RF64) &&
           (format & SF_FORMAT_SUBMASK) == SF_FORMAT_FLOAT &&
           (format & SF_FORMAT_ENDMASK) != SF_ENDIAN_BIG;
}

} // namespace

struct AudioFileReader::Handle {
    SoundFile file;
    std::filesystem::path path;
};

AudioFileReader::AudioFileReader(const std::filesystem::path& path)
    : handle_(std::make_unique<Handle>()) {
    SF_INFO info{};
    try {
        // Opening a FIFO would wait for its other end.
        files::FileDescriptor descriptor(path, O_RDONLY | O_NONBLOCK);
        struct stat status {};
        if (fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
            throw failure("Not an audio file:", path, "");
        }
        handle_->file = handedOver(descriptor, SFM_READ, info);
    } catch (const std::system_error& error) {
        throw systemFailure("The audio file could not be opened:", path, error);
    }
    handle_->path = path;
    if (!handle_->file) {
        throw soundFailure("Not an audio file:", path, nullptr);
    }
    if (info.frames <= 0 || info.channels <= 0 || info.samplerate <= 0) {
        throw failure("The audio file holds no audio:", path, "");
    }
    format_ = AudioFormat(info.samplerate, static_cast<std::uint32_t>(info.channels));
    length_ = info.frames;
    isLengthExact_ = (info.format & SF_FORMAT_TYPEMASK) != SF_FORMAT_MPEG;
    isFloatWav_ = isLittleEndianFloatWav(info.format);
}

AudioFileReader::~AudioFileReader() = default;

void AudioFileReader::seek(std::int64_t frame) {
    if (frame < 0 || frame > length_ || sf_seek(handle_->file.get(), frame, SEEK_SET) != frame) {
        throw soundFailure("The audio file could not be read:", handle_->path, handle_->file.get());
    }
}

std::int64_t AudioFileReader::read(std::span<float> interleaved) {
    const auto frames = interleaved.size() / format_.channelCount();
    return sf_readf_float(handle_->file.get(), interleaved.data(), static_cast<sf_count_t>(frames));
}

std::shared_ptr<AudioFileReader> openForPlaying(const std::filesystem::path& path) {
    auto file = std::make_shared<AudioFileReader>(path);
    if (const double rate = file->format().sampleRate();
        rate < kLowestFileRate || rate > kHighestFileRate) {
        throw failure("The audio file cannot be played at its sample rate of " + rateText(rate) +
                          " Hz:",
                      path, "");
    }
    return file;
}

struct AudioFileWriter::Handle {
    SoundFile file;
    std::filesystem::path path;
};

AudioFileWriter::AudioFileWriter(const std::filesystem::path& path,
                                 const AudioFileSettings& settings)
    : handle_(std::make_unique<Handle>())
    , settings_(settings) {
    if (settings.channelCount == 0 || settings.sampleRate < 1.0 ||
        settings.sampleRate > std::numeric_limits<int>::max()) {
        throw AudioError("There is no audio input to record from");
    }
    try {
        // Has its header before it has its name: a failure leaves what was there, and whoever
        // opens the file by its name can read it.
        files::AtomicFile file(path.parent_path(), kTakeWithoutName, 0666);
        begin(file.descriptor(), path);
        do {
            handle_->path =
                files::freeName(path.parent_path(), path.stem().string(), path.extension());
        } while (!file.becomeNew(handle_->path));
    } catch (const std::system_error& error) {
        throw systemFailure(kNotCreated, path, error);
    }
}

AudioFileWriter::AudioFileWriter(files::AtomicFile& file, const std::filesystem::path& path,
                                 const AudioFileSettings& settings)
    : handle_(std::make_unique<Handle>())
    , settings_(settings) {
    files::FileDescriptor descriptor(fcntl(file.descriptor().get(), F_DUPFD_CLOEXEC, 0));
    begin(descriptor, path);
}

AudioFileWriter::~AudioFileWriter() = default;

void AudioFileWriter::begin(files::FileDescriptor& descriptor, const std::filesystem::path& path) {
    SF_INFO info{};
    info.samplerate = static_cast<int>(std::lround(settings_.sampleRate));
    info.channels = static_cast<int>(settings_.channelCount);
    info.format = SF_FORMAT_RF64 | SF_FORMAT_FLOAT;
    handle_->file = handedOver(descriptor, SFM_WRITE, info);
    if (!handle_->file) {
        throw soundFailure(kNotCreated, path, nullptr);
    }
    handle_->path = path;
    sf_command(handle_->file.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
    updateHeader();
}

void AudioFileWriter::removeStale(const std::filesystem::path& folder) {
    files::AtomicFile::removeStale(folder, kTakeWithoutName);
}

const std::filesystem::path& AudioFileWriter::path() const {
    return handle_->path;
}

void AudioFileWriter::write(const AudioPCMBuffer& buffer) {
    if (buffer.format().channelCount() != settings_.channelCount) {
        throw AudioError("The buffer has another number of channels than the recording");
    }
    buffer.interleave(interleaved_);
    write(interleaved_);
}

void AudioFileWriter::write(std::span<const float> interleaved) {
    const auto frames = static_cast<sf_count_t>(interleaved.size() / settings_.channelCount);
    // A failed write may leave part of a frame in the file; the next one overwrites that.
    const sf_count_t written = sf_writef_float(handle_->file.get(), interleaved.data(), frames);
    framesWritten_ += written;
    if (written != frames) {
        const std::string reason = sf_strerror(handle_->file.get());
        sf_seek(handle_->file.get(), framesWritten_, SEEK_SET);
        updateHeader();
        throw failure("Only " + std::to_string(written) + " of " + std::to_string(frames) +
                          " frames could be written to",
                      handle_->path, ": " + reason);
    }
    updateHeader();
}

void AudioFileWriter::cut(std::int64_t frames) {
    if (frames >= framesWritten_) {
        return;
    }
    sf_count_t length = frames;
    if (sf_command(handle_->file.get(), SFC_FILE_TRUNCATE, &length, sizeof(length)) != 0) {
        throw soundFailure("The recording could not be made shorter:", handle_->path,
                           handle_->file.get());
    }
    framesWritten_ = frames;
    updateHeader();
}

void AudioFileWriter::updateHeader() {
    sf_command(handle_->file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
}

} // namespace tessivo::sound
