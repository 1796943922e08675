#include "Utils/AudioImport.h"

#include "Models/LibraryRig.h"

#include <limits>
#include <sndfile.h>

using namespace tessivo;
using namespace tessivo::test;
namespace fs = std::filesystem;
using Files = LoopFileManager;

namespace {

struct ImportRig : LibraryRig {
    // A file of that kind: silence, then noise, that many quarters of a second together. Returns
    // its samples as it has them.
    Channels make(const fs::path& path, int format, int rate = 48000, std::uint32_t channels = 2,
                  int quarters = 1) const {
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = static_cast<int>(channels);
        info.format = format;
        const int frames = rate / 4 * quarters;
        SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
        EXPECT_NE(file, nullptr) << path << sf_strerror(nullptr);
        std::vector<float> samples = noise(static_cast<std::size_t>(frames) * channels, 3);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] *= i < samples.size() / 2 ? 0.0F : 0.5F;
        }
        int bitRate = SF_BITRATE_MODE_VARIABLE;
        sf_command(file, SFC_SET_BITRATE_MODE, &bitRate, sizeof(bitRate));
        EXPECT_EQ(sf_writef_float(file, samples.data(), frames), frames);
        sf_close(file);
        return readFile(path);
    }

    static ImportedAudio import(
        const fs::path& path, const ImportProgress& progress = [](double) {}) {
        return importAudio(urlOf(path), progress);
    }
    static std::string errorOf(const fs::path& path) {
        try {
            import(path);
            return "no error";
        } catch (const std::exception& error) {
            return error.what();
        }
    }

    fs::path source = home.path() / "drop";
    bool made = fs::create_directory(source);
};

} // namespace

TEST(AudioImportTest, EveryKindBecomesFloatWavUnderTheNameOfItsFile) {
    const ImportRig rig;
    struct Case {
        const char* file;
        const char* name;
        int format;
        int rate;
        std::uint32_t channels;
    };
    for (const auto& [file, name, format, rate, channels] : std::vector<Case>{
             {"float.wav", "float", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 44100, 2},
             {"wide.wav", "wide", SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, 48000, 6},
             {"cd.wav", "cd", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2},
             {"big endian.wav", "big endian", SF_FORMAT_WAV | SF_FORMAT_FLOAT | SF_ENDIAN_BIG,
              48000, 1},
             {"double.wav", "double", SF_FORMAT_WAV | SF_FORMAT_DOUBLE, 96000, 2},
             {"a.b.flac", "a.b", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 48000, 2},
             {"Größe 100%.ogg", "Größe 100%", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 44100, 2},
             {"opus.ogg", "opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 48000, 2},
             {"song.mp3", "song", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2},
             {"song.aiff", "song_1", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 8000, 1},
             {"what?.wav", "what?", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2},
             {".wav", ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 48000, 2}}) {
        SCOPED_TRACE(file);
        const fs::path path = rig.source / file;
        const Channels samples = rig.make(path, format, rate, channels, 8);
        std::vector<double> progress;
        const auto [loop, heard] = rig.import(path, [&](double part) { progress.push_back(part); });
        EXPECT_EQ(loop.name(), name);
        EXPECT_EQ(heard, channels);
        const fs::path copy = pathOf(*Files::locationOf(loop));
        const sound::AudioFileReader reader(copy);
        EXPECT_TRUE(reader.isFloatWav());
        EXPECT_EQ(reader.format(), sound::AudioFormat(rate, channels));
        EXPECT_TRUE(readFile(copy) == samples);
        EXPECT_EQ(loop.duration(), static_cast<double>(samples[0].size()) / rate);
        EXPECT_EQ(loop.fileSize(), static_cast<qint64>(fs::file_size(copy)));
        EXPECT_NEAR(loop.createdDate().count(), secondsSince2001Now().count(), 60.0);
        EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));
        EXPECT_EQ(progress.empty() ? 0.0 : progress.back(), 1.0);
        EXPECT_TRUE(progress.size() < 2 || progress.front() < 1.0);
        EXPECT_EQ(copy.filename() == "float.wav", bytesOf(copy) == bytesOf(path) && channels == 2)
            << "only what is WAV already is copied as it is";
    }
}

// Its length is estimated from its bytes.
TEST(AudioImportTest, AnMP3WithoutATableOfContentsIsWhole) {
    const ImportRig rig;
    const fs::path path = rig.source / "song.mp3";
    rig.make(path, SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100);
    const std::string whole = bytesOf(path);
    const std::size_t second = whole.find(whole.substr(0, 2), 100);
    writeBytes(path, whole.substr(second));
    EXPECT_NEAR(rig.import(path, [](double part) { EXPECT_LE(part, 1.0); }).loop.duration(), 0.3,
                0.1);
}

TEST(AudioImportTest, WhatIsNoAudioIsRefusedByNameAndLeavesNothing) {
    const ImportRig rig;
    const auto named = [&](const char* name) {
        return rig.source / name;
    };
    rig.make(named("whole.flac"), SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    const std::string whole = bytesOf(named("whole.flac"));
    writeBytes(named("cut.flac"), whole.substr(0, whole.size() / 2));
    writeBytes(named("notes.txt"), "not audio");
    for (const float odd : {std::numeric_limits<float>::quiet_NaN(), HUGE_VALF}) {
        Channels samples(1, noise(100'000, 1));
        samples[0].back() = odd;
        writeFile(named(odd == odd ? "infinite.wav" : "nan.wav"), 48000, samples);
    }
    for (const auto& [name, reason] : std::vector<std::pair<const char*, std::string>>{
             {"cut.flac", "The audio file ends too early: "},
             {"notes.txt", "Not an audio file: "},
             {"nan.wav", "The audio file has samples that are not numbers: "},
             {"infinite.wav", "The audio file has samples that are not numbers: "}}) {
        EXPECT_EQ(rig.errorOf(named(name)).rfind(reason + '"' + name + '"', 0), 0U)
            << rig.errorOf(named(name));
    }
    EXPECT_TRUE(rig.files().empty());
}

TEST(AudioImportTest, AFullDiskOrACancelledImportLeavesNoHalfFile) {
    const ImportRig rig;
    for (const auto& [name, format] : {std::pair("long.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16),
                                       std::pair("long.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16),
                                       std::pair("float.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT)}) {
        SCOPED_TRACE(name);
        const fs::path file = rig.source / name;
        rig.make(file, format, 192'000, 4);
        EXPECT_THROW(rig.import(file, [](double) { throw std::bad_alloc(); }), std::bad_alloc);
        EXPECT_TRUE(rig.files().empty());
        {
            const SmallDisk disk(rig.folder);
            EXPECT_EQ(rig.errorOf(file), "Insufficient disk space to save loop");
        }
        const SmallDisk disk(rig.folder, "size=12m");
        const auto fillUp = [&](double) {
            writeBytes(rig.folder / "other", std::string(std::size_t{12} << 20, 'x'));
        };
        EXPECT_ANY_THROW(rig.import(file, fillUp));
        EXPECT_EQ(rig.files(), std::vector<std::string>{"other"});
    }
}
