#include "Platform/System/Formatters.h"

#include <gtest/gtest.h>

namespace tessivo {
namespace {

TEST(FormattersTest, FileSizesReadAsTheDesktopWritesThem) {
    const QLocale english(QLocale::English, QLocale::UnitedStates);
    QStringList texts;
    for (const qint64 bytes :
         {-1LL, 0LL, 1LL, 1'000LL, 12'499LL, 12'500LL, 999'499LL, 999'500LL, 1'209'644LL,
          999'949'999LL, 999'950'000LL, 1'254'000'000LL, 20'010'000'000LL, 0x7fffffffffffffffLL}) {
        texts.push_back(formatFileSize(bytes, english));
    }
    EXPECT_EQ(texts.join(", ").toStdString(),
              "Zero KB, Zero KB, 1 byte, 1 KB, 12 KB, 13 KB, 999 KB, 1 MB, 1.2 MB, "
              "999.9 MB, 1 GB, 1.25 GB, 20.01 GB, 9.22 EB");
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
