#include "Platform/Sound/PlayerNode.h"
#include "support/TakeRig.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace tessivo::sound;
using namespace tessivo::test;

namespace {

constexpr std::size_t kRamp = 144;

struct LoopRig : TakeRig {
    explicit LoopRig(std::size_t cycle, AudioDevice::Formats deviceFormats = formats(2))
        : TakeRig(cycle, deviceFormats) {
        for (const auto& node : {player, other}) {
            engine->attach(node);
            engine->connect(*node, *engine->mainMixerNode());
        }
    }
    ~LoopRig() { readerMayGo = true; }

    // A disk that delivers nothing until the reader may go.
    void blockReader() {
        writeFile(folder / "other.wav", 48000.0, {noise(100, 1)});
        std::atomic<bool> blocked = false;
        other->scheduleFile(std::make_shared<AudioFileReader>(folder / "other.wav"),
                            NoticeWhen::read, [&](const PlaybackNotice&) {
                                blocked = true;
                                eventually([&] { return readerMayGo.load(); },
                                           std::chrono::seconds(60));
                            });
        ASSERT_TRUE(eventually([&] { return blocked.load(); }));
    }

    // Takes between two frames, and ends it as a looper does: first the loop, then the file.
    void take(std::size_t begin, std::size_t frames, std::size_t handledAfter) {
        auto& input = engine->inputNode();
        play(begin);
        auto writer =
            std::make_unique<AudioFileWriter>(folder / "take.wav", input.outputFormat().settings());
        input.installTap(
            2048, input.outputFormat(),
            [&](const AudioPCMBuffer& buffer, const AudioTime&) { writer->write(buffer); },
            momentOf(begin));
        const std::size_t end = begin + frames;
        play(end + handledAfter - captured[0].size());
        zero = static_cast<std::int64_t>(end) - kOutput;
        length = static_cast<std::int64_t>(frames);
        start = heard[0].size();
        ASSERT_TRUE(player->loopTake(input.takeHead(), momentOf(end)));
        std::jthread later([&] { play(4096); });
        writer->cut(input.removeTap(momentOf(end)).value());
        writer.reset();
        later.join();
        loop.resize(2);
        for (const std::size_t c : {0U, 1U}) {
            loop[c] = slice(captured[c], begin + kInput, frames);
        }
    }
    void scheduleTake(std::uint32_t passes) {
        player->scheduleFile(std::make_shared<AudioFileReader>(folder / "take.wav"),
                             NoticeWhen::read, {}, passes);
    }
    // Never faster than the reader, for as long as it has something to read.
    void hear(std::size_t frames) {
        bool reads = true;
        for (std::size_t done = 0; done < frames; done += quantum) {
            reads = reads && eventually([&] { return player->queuedFrames() > 10'000; },
                                        std::chrono::milliseconds(500));
            play(quantum);
        }
    }
    // The first position from `from` to `to` that is not the loop's, or -1.
    std::int64_t firstWrong(std::size_t from, std::size_t to) const {
        for (std::size_t at = from; at < to; ++at) {
            const auto frame =
                static_cast<std::size_t>((static_cast<std::int64_t>(at) - zero) % length);
            if (heard[0][at] != loop[0][frame] || heard[1][at] != loop[1][frame]) {
                return static_cast<std::int64_t>(at);
            }
        }
        return -1;
    }

    TemporaryFolder folder;
    std::shared_ptr<PlayerNode> player = std::make_shared<PlayerNode>();
    std::shared_ptr<PlayerNode> other = std::make_shared<PlayerNode>();
    std::atomic<bool> readerMayGo = false;
    std::int64_t zero = 0; // the position at which the loop's frame 0 belongs to the press
    std::int64_t length = 0;
    std::size_t start = 0; // the first position at which it can be heard
    Channels loop;
};

} // namespace

TEST(TakeLoopTest, SoundsFromTheNextCycleInPhaseAndTheFileFollowsWithoutASeam) {
    struct Case {
        std::size_t quantum;
        std::size_t frames;
        std::size_t handledAfter;
    };
    for (const auto& [quantum, frames, handledAfter] :
         {Case{64, 300, 9600}, Case{64, 70'001, 1000}, Case{256, 70'001, 9600},
          Case{1024, 300, 1000}, Case{1024, 70'001, 9600}}) {
        SCOPED_TRACE(std::to_string(quantum) + " " + std::to_string(frames) + " " +
                     std::to_string(handledAfter));
        LoopRig rig(quantum);
        rig.take(50'037, frames, handledAfter);
        rig.blockReader();
        rig.play(4800);
        const auto passes = static_cast<std::uint32_t>(150'000 / frames + 2);
        rig.scheduleTake(passes);
        rig.play(240'000); // five seconds without a disk
        rig.readerMayGo = true;
        rig.play(2048); // no time to read them in
        rig.hear(10'000);
        const std::size_t joined = rig.heard[0].size();
        rig.hear((passes + 1) * frames);

        const auto& left = rig.heard[0];
        EXPECT_LT(std::abs(left[rig.start]), 0.01F);
        EXPECT_NE(left[rig.start + 1], 0.0F);
        // The file's passes end where a pass of the loop ends.
        const auto last =
            std::find_if(left.rbegin(), left.rend(), [](float sample) { return sample != 0.0F; });
        const auto end = static_cast<std::size_t>(left.rend() - last);
        EXPECT_GT(end, joined);
        EXPECT_LT(end, left.size()) << "the memory goes on beside the file";
        EXPECT_EQ((static_cast<std::int64_t>(end) - rig.zero) % rig.length, 0);
        EXPECT_EQ(rig.firstWrong(rig.start + kRamp, end), -1);
        EXPECT_EQ(rig.engine->statistics().underrunFrames, 0);
    }
}

// What is neither in memory nor read yet is silence, and the loop keeps its phase.
TEST(TakeLoopTest, LoopLongerThanTheMemoryWaitsForItsFileInPhase) {
    LoopRig rig(1024);
    rig.take(20'000, 500'000, 1000);
    rig.blockReader();
    rig.scheduleTake(2);
    rig.play(495'000);
    const auto edge = static_cast<std::size_t>(rig.zero) + 480'000;
    const std::size_t late = rig.heard[0].size();
    rig.readerMayGo = true;
    rig.hear(100'000);
    EXPECT_EQ(rig.firstWrong(rig.start + kRamp, edge), -1);
    EXPECT_EQ(slice(rig.heard[0], edge, 3000), std::vector<float>(3000));
    EXPECT_EQ(rig.firstWrong(late + 20'000, late + 100'000), -1);
    EXPECT_GT(rig.engine->statistics().underrunFrames, 3000);
}

TEST(TakeLoopTest, LostCyclesAndALateDiskLeaveItsPhase) {
    LoopRig rig(256);
    rig.take(20'000, 30'001, 1000);
    rig.scheduleTake(40);
    rig.hear(50'000);
    const auto staysInPhase = [&rig] {
        const std::size_t again = rig.heard[0].size();
        rig.hear(40'000);
        return rig.firstWrong(again, again + 40'000) == -1;
    };
    for (const std::uint32_t lost : {256U, 7000U}) {
        rig.lose(lost);
        EXPECT_TRUE(staysInPhase()) << lost;
    }
    rig.play(150'000); // faster than the reader
    rig.hear(20'000);
    EXPECT_TRUE(staysInPhase());
    EXPECT_GT(rig.engine->statistics().underrunFrames, 0);
}

TEST(TakeLoopTest, FileAtAnotherRateTakesOverWithoutAClick) {
    LoopRig rig(256, formats(1, 44100.0));
    rig.pitched = true;
    rig.take(48'000 - LoopRig::kInput, 48'000, 1000); // whole periods
    rig.play(4800);
    rig.scheduleTake(4);
    rig.hear(96'000);
    float worst = 0.0F;
    for (std::size_t at = rig.start + kRamp; at < rig.heard[0].size(); ++at) {
        const auto phase = static_cast<std::int64_t>(at) - rig.zero;
        worst = std::max(
            worst, std::abs(rig.heard[0][at] - sineAt(static_cast<std::size_t>(phase), 48000.0)));
    }
    // Half a frame beside the place is 0.065 of a tone of 1000 Hz.
    EXPECT_LT(worst, 0.07F);
    EXPECT_EQ(rig.engine->statistics().underrunFrames, 0);
}

TEST(TakeLoopTest, StopEndsItWithTheRampAndNothingFollows) {
    LoopRig rig(64);
    rig.take(30'000, 20'000, 1000);
    rig.play(1000);
    rig.player->stop();
    const std::size_t stopped = rig.heard[0].size();
    rig.play(30'000);
    EXPECT_NE(rig.heard[0][stopped + 20], 0.0F);
    EXPECT_EQ(slice(rig.heard[0], stopped + kRamp, 29'000), std::vector<float>(29'000));
    EXPECT_FALSE(rig.player->isFading());
}
