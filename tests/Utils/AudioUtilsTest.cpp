#include "Utils/AudioUtils.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <fstream>
#include <pwd.h>
#include <unistd.h>

using namespace tessivo;
using namespace tessivo::test;

namespace {

// Not std::time(), which lags a little behind the clock that names a file.
std::time_t now() {
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

} // namespace

TEST(AudioUtilsTest, FormatsWholeMinutesAndSeconds) {
    const std::vector<std::pair<double, QString>> expected{
        {0.0, "00:00"},        {2.9, "00:02"},   {59.99, "00:59"}, {3725.0, "62:05"},
        {360000.0, "6000:00"}, {-75.0, "00:00"}, {1e19, "00:00"},  {HUGE_VAL, "00:00"},
        {-HUGE_VAL, "00:00"},  {NAN, "00:00"}};
    for (const auto& [seconds, text] : expected) {
        EXPECT_EQ(AudioUtils::formatDuration(seconds), text) << seconds;
    }
}

TEST(AudioUtilsTest, NamesAFileOfThisSecondInAFolderThatThenExists) {
    const TemporaryHome home;
    const std::time_t before = now();
    const auto path = pathOf(AudioUtils::createLoopFileURL());
    const std::time_t after = now();
    EXPECT_EQ(path.parent_path(), home.recordings());
    EXPECT_TRUE(std::filesystem::is_directory(home.recordings()));
    EXPECT_TRUE(path.filename() == "loop_" + std::to_string(before) + ".wav" ||
                path.filename() == "loop_" + std::to_string(after) + ".wav");

    // As a service or a stripped environment starts it. Nothing is written there.
    const QByteArray mine = qgetenv("HOME");
    for (const bool empty : {false, true}) {
        empty ? qputenv("HOME", "") : qunsetenv("HOME");
        ensureHome();
        EXPECT_EQ(qgetenv("HOME"), getpwuid(getuid())->pw_dir);
    }
    qputenv("HOME", mine);
    ensureHome();
    EXPECT_EQ(qgetenv("HOME"), mine);

    std::filesystem::create_directories(home.path() / ".config");
    std::ofstream(home.path() / ".config" / "user-dirs.dirs")
        << "XDG_DOCUMENTS_DIR=\"$HOME/Doküments#1 %41\"\n";
    EXPECT_EQ(pathOf(AudioUtils::createLoopFileURL()).parent_path(),
              home.path() / "Doküments#1 %41" / "LooperFiles");
}
