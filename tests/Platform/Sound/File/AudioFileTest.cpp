#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/AudioError.h"
#include "support/OfflineRig.h"
#include "support/TracedChild.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

using namespace tessivo::sound;
using namespace tessivo::test;

TEST(AudioFileTest, TakeIsAnOrdinaryFloatWavWithEveryBitOfTheInput) {
    const TemporaryFolder folder;
    Channels channels{noise(5000, 1), noise(5000, 2)};
    channels[0][7] = 3.5F; // above full scale
    channels[1][9] = std::numeric_limits<float>::denorm_min();
    writeFile(folder / "take.wav", 44100.0, channels);

    const auto read = readFile(folder / "take.wav");
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(firstDifference(read[0], channels[0]), -1);
    EXPECT_EQ(firstDifference(read[1], channels[1]), -1);
    EXPECT_EQ(AudioFileReader(folder / "take.wav").format(), AudioFormat(44100.0, 2));
    const std::string bytes = bytesOf(folder / "take.wav");
    EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(8, 4), "RIFFWAVE");
}

TEST(AudioFileTest, NewTakeLeavesItsNameToWhoeverHasIt) {
    const TemporaryFolder folder;
    const auto path = folder / "loop_1.wav";
    const AudioFileWriter living(path, {48000.0, 1});
    EXPECT_EQ(living.path(), path);
    std::ofstream(folder / "loop_1-1.wav") << "another's";
    EXPECT_EQ(AudioFileWriter(path, {48000.0, 1}).path(), folder / "loop_1-2.wav");
    EXPECT_EQ(bytesOf(folder / "loop_1-1.wav"), "another's");
    EXPECT_THROW(AudioFileReader{path}, AudioError) << "nothing was played yet";
}

TEST(AudioFileTest, RefusesWhatIsNotALoop) {
    const TemporaryFolder folder;
    std::ofstream(folder / "text.wav") << "this is a text, not a sound";
    { const AudioFileWriter none(folder / "none.wav", {48000.0, 2}); }
    std::filesystem::create_directory(folder / "folder.wav");
    ASSERT_EQ(mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
    writeFile(folder / "slow.wav", 100.0, {noise(10, 1)});
    writeFile(folder / "fast.wav", 20e6, {noise(10, 1)});
    EXPECT_EQ(AudioFileReader(folder / "fast.wav").length(), 10) << "it is audio nevertheless";

    const std::vector<std::pair<const char*, const char*>> expected{
        {"missing.wav", "No such file"},
        {"text.wav", "Not an audio file"},
        {"none.wav", "holds no audio"},
        {"folder.wav", "Not an audio file"},
        {"pipe.wav", "Not an audio file"},
        {"slow.wav", "sample rate of 100.0 Hz"},
        {"fast.wav", "sample rate of 20000000.0 Hz"}};
    for (const auto& [name, reason] : expected) {
        try {
            openForPlaying(folder / name);
            ADD_FAILURE() << name;
        } catch (const AudioError& error) {
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
        }
    }
}

// A mask that is changed for a moment gives other threads' files the wrong permissions, and what
// is closed twice may be another thread's file the second time.
TEST(AudioFileTest, LeavesAloneWhatAllThreadsShare) {
    const TemporaryFolder folder;
    std::ofstream(folder / "text.wav") << "this is a text, not a sound";
    std::uint64_t number = 0;
    const int status = traceSystemCalls(
        [] { umask(027); },
        [&] {
            { const AudioFileWriter take(folder / "take.wav", {48000.0, 1}); }
            const AudioFileReader refused(folder / "text.wav");
        },
        [&](const auto& call) {
            if (call.op == PTRACE_SYSCALL_INFO_ENTRY) {
                number = call.entry.nr;
                EXPECT_NE(number, SYS_umask);
            } else if (call.op == PTRACE_SYSCALL_INFO_EXIT && number == SYS_close) {
                EXPECT_EQ(call.exit.rval, 0);
            }
            return true;
        });
    EXPECT_EQ(WEXITSTATUS(status), 1) << "the text was refused";
    EXPECT_EQ(number, SYS_exit_group) << "all calls were seen";
    EXPECT_EQ(std::filesystem::status(folder / "take.wav").permissions(),
              static_cast<std::filesystem::perms>(0640));
}

TEST(AudioFileTest, FullDiskKeepsWhatWasWrittenAndGoesOnWhenThereIsRoom) {
    const TemporaryFolder folder;
    const auto block = noise(2048, 7);
    AudioPCMBuffer buffer({48000.0, 1}, 2048);
    buffer.setFrameLength(2048);
    std::copy(block.begin(), block.end(), buffer.channel(0).begin());
    auto* previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    {
        AudioFileWriter writer(folder / "take.wav", {48000.0, 1});
        for (int i = 1; i <= 2; ++i) {
            writer.write(buffer);
            EXPECT_EQ(AudioFileReader(folder / "take.wav").length(), i * 2048) << "at once";
        }
        rlimit full = saved;
        full.rlim_cur = 20193; // in the middle of a sample of the third block
        setrlimit(RLIMIT_FSIZE, &full);
        EXPECT_THROW(writer.write(buffer), AudioError);
        const auto kept = writer.framesWritten();
        EXPECT_GT(kept, 4096);
        EXPECT_LT(kept, 6144);
        std::filesystem::copy(folder / "take.wav", folder / "full.wav");
        EXPECT_EQ(AudioFileReader(folder / "full.wav").length(), kept);

        setrlimit(RLIMIT_FSIZE, &saved);
        writer.write(buffer);
        EXPECT_EQ(writer.framesWritten(), kept + 2048);
    }
    std::signal(SIGXFSZ, previous);
    const auto read = readFile(folder / "take.wav")[0];
    const auto tail = slice(read, read.size() - 2048, 2048);
    EXPECT_EQ(firstDifference(tail, block), -1);
    const auto middle = slice(read, 4096, read.size() - 6144);
    EXPECT_EQ(firstDifference(middle, slice(block, 0, middle.size())), -1);
}
