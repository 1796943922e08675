#include "Platform/System/Formatters.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace tessivo {
namespace {

TEST(FormattersTest, FileSizesReadAsTheDesktopWritesThem) {
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    const std::vector<std::pair<qint64, const char*>> cases{
        {-1, "Zero KB"},
        {0, "Zero KB"},
        {1, "1 byte"},
        {1'000, "1 KB"},
        {12'499, "12 KB"},
        {12'500, "13 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},
        {1'209'644, "1.2 MB"},
        {999'949'999, "999.9 MB"},
        {999'950'000, "1 GB"},
        {1'254'000'000, "1.25 GB"},
        {20'010'000'000, "20.01 GB"},
        {std::numeric_limits<qint64>::max(), "9.22 EB"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(formatFileSize(bytes, english).toStdString(), text) << bytes;
    }
    const QLocale german(QLocale::German, QLocale::Germany);
    EXPECT_EQ(formatFileSize(1'209'644, german).toStdString(), "1,2 MB");
}

TEST(FormattersTest, ShortDateHasTheMonthInTheUsersLanguage) {
    const QDateTime evening(QDate(2025, 3, 6), QTime(20, 5));
    EXPECT_EQ(formatShortDate(evening, QLocale(QLocale::English)).toStdString(), "Mar 06, 20:05");
    EXPECT_EQ(formatShortDate(evening, QLocale(QLocale::French)).toStdString(), "mars 06, 20:05");
}

} // namespace
} // namespace tessivo
