#include "ViewModels/Main/LoopTime.h"

#include "ViewModels/LooperRig.h"

#include <tuple>

using namespace tessivo;
using namespace tessivo::test;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t kSecond = 48000; // frames

struct TimeRig : LooperRig {
    // The line shows that, as soon as it looks again at the latest.
    void shows(const char* text, double progress = 0.0) {
        LoopTime& time = *looper->time();
        const auto shown = [&] {
            return std::tuple(time.text(), time.hasProgress(), std::lround(100 * time.progress()));
        };
        const QString wanted(text);
        const std::tuple expected(wanted, wanted.contains('/'), std::lround(100 * progress));
        EXPECT_TRUE(runUntil([&] { return shown() == expected; }, milliseconds(1300)))
            << time.text().toStdString() << " at " << time.progress() << " instead of " << text;
    }
};

} // namespace

TEST(LoopTimeTest, FollowsTheSoundWhileThereIsATakeOrALoop) {
    TimeRig rig;
    rig.shows("");
    rig.record();
    rig.shows("00:00");
    rig.feed(Channels(2, noise(5 * kSecond / 2, 1)));
    rig.shows("00:02");
    rig.record();
    rig.feed(Channels(2, noise(kSecond / 4, 1)));
    ASSERT_TRUE(rig.becomes(TransportState::playing));
    rig.shows("00:00 / 00:02", 0.1); // since the press
    hear(*rig.device, 2 * kSecond);
    rig.shows("00:02 / 00:02", 0.9);
    hear(*rig.device, kSecond / 2);
    rig.shows("00:00 / 00:02", 0.1);

    rig.stop();
    rig.shows("");
    int looks = 0;
    const auto count = [&] {
        ++looks;
    };
    QObject::connect(rig.looper->time(), &LoopTime::textChanged, count);
    QObject::connect(rig.looper->time(), &LoopTime::progressChanged, count);
    hear(*rig.device, kSecond);
    EXPECT_EQ(looks, 0);

    rig.device->setLatencies(0.0, 0.5);
    rig.play();
    hearStart(*rig.device, kSecond / 4);
    rig.shows("00:00 / 00:02", 0.0); // nothing of it is heard yet
    hear(*rig.device, 3 * kSecond / 2);
    rig.shows("00:01 / 00:02", 0.5);
    rig.stop();
    rig.shows("");
}
