#include "Utils/AudioUtils.h"
#include "support/QtTestSupport.h"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <limits>

using namespace tessivo;
using namespace tessivo::test;

TEST(AudioUtilsTest, FormatsWholeMinutesAndSeconds) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, QString>> expected{
        {0.0, "00:00"},    {2.9, "00:02"},        {59.99, "00:59"},      {60.0, "01:00"},
        {3725.0, "62:05"}, {360000.0, "6000:00"}, {-0.5, "00:00"},       {-75.0, "00:00"},
        {1e19, "00:00"},   {kInfinity, "00:00"},  {-kInfinity, "00:00"}, {std::nan(""), "00:00"}};
    for (const auto& [seconds, text] : expected) {
        EXPECT_EQ(AudioUtils::formatDuration(seconds), text) << seconds;
    }
}

TEST(AudioUtilsTest, NamesAFileOfThisSecondInAFolderThatThenExists) {
    const TemporaryHome home;
    CapturedLines lines;
    const std::time_t before = std::time(nullptr);
    const auto path = pathOf(AudioUtils::createLoopFileURL());
    const std::time_t after = std::time(nullptr);
    EXPECT_EQ(path.parent_path(), home.recordings());
    EXPECT_TRUE(std::filesystem::is_directory(home.recordings()));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(path.filename() == "loop_" + std::to_string(before) + ".wav" ||
                path.filename() == "loop_" + std::to_string(after) + ".wav");
    EXPECT_EQ(pathOf(AudioUtils::getLooperRecordingsDirectory()), home.recordings());
    EXPECT_EQ(lines.take(), Lines());
}

TEST(AudioUtilsTest, FolderThatCannotBeMadeIsReportedAndReturned) {
    const TemporaryHome home;
    CapturedLines lines;
    std::ofstream(home.path() / "Documents") << "in the way";
    EXPECT_EQ(pathOf(AudioUtils::getLooperRecordingsDirectory()), home.recordings());
    EXPECT_EQ(lines.take(), Lines{"Failed to create LooperFiles directory: Not a directory"});
}
