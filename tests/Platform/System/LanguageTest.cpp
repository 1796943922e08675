#include "Platform/System/Collation.h"
#include "Platform/System/RelativeDateFormatter.h"
#include "Platform/System/TextSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tessivo {
namespace {

std::vector<std::string> sorted(const QLocale& locale, std::vector<std::string> names) {
    const Collation collation(locale);
    std::sort(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
        return collation.sortKey(QString::fromStdString(a)) <
               collation.sortKey(QString::fromStdString(b));
    });
    return names;
}

bool finds(const QLocale& locale, const QString& pattern, const QString& text) {
    const TextSearch search(locale);
    return TextSearch::Pattern(search.folded(pattern)).isIn(search.folded(text));
}

const QLocale kEnglish(QLocale::English);
const QLocale kTurkish(QLocale::Turkish);

TEST(LanguageTest, NamesAreOrderedAsTheLanguageOrdersThem) {
    const std::vector<std::string> names{"Zebra",   "\u00c4pfel", "apfel", "Apfel",
                                         "\u00f6l", "2",          "10",    ""};
    EXPECT_EQ(sorted(QLocale(QLocale::German), names),
              (std::vector<std::string>{"", "10", "2", "apfel", "Apfel", "\u00c4pfel", "\u00f6l",
                                        "Zebra"}));
    EXPECT_EQ(sorted(QLocale(QLocale::Swedish), names).back(), "\u00f6l");
    // No language is not the order of code points.
    EXPECT_EQ(sorted(QLocale::c(), {"Z", "a", "\u00e4"}),
              (std::vector<std::string>{"a", "\u00e4", "Z"}));

    const Collation collation(kEnglish);
    EXPECT_EQ(collation.sortKey(u"caf\u00e9"_qs), collation.sortKey(u"cafe\u0301"_qs));
    // Marks in either order, which a quick look at the text would take for different ones.
    EXPECT_EQ(collation.sortKey(u"a\u0323\u0302"_qs), collation.sortKey(u"a\u0302\u0323"_qs));
    const QString longName(10'000, u'\u0416');
    EXPECT_LT(collation.sortKey(longName), collation.sortKey(longName + u'a'));
}

TEST(LanguageTest, SearchIgnoresCaseAndSpellingButNotAccents) {
    EXPECT_TRUE(finds(kEnglish, u"BE"_qs, u"Vibe"_qs));
    EXPECT_FALSE(finds(kEnglish, u"BE"_qs, u"Pad"_qs));
    EXPECT_TRUE(finds(kEnglish, u"STRASSE"_qs, u"Hauptstra\u00dfe"_qs));
    EXPECT_TRUE(finds(kEnglish, u"\u03a3\u039f\u03a3"_qs,
                      u"\u039b\u03cc\u03b3\u03bf\u03c2 \u03c3\u03bf\u03c2"_qs));
    EXPECT_TRUE(finds(kEnglish, u"\U00010400"_qs, u"x\U00010428"_qs)); // beyond the first plane

    // An accent makes another character, however it is written.
    const QString composed = u"Caf\u00e9 1"_qs;
    const QString decomposed = u"Cafe\u0301 1"_qs;
    for (const QString& text : {composed, decomposed}) {
        EXPECT_TRUE(finds(kEnglish, u"F\u00c9"_qs, text));
        EXPECT_TRUE(finds(kEnglish, u"fE\u0301 "_qs, text));
        EXPECT_FALSE(finds(kEnglish, u"fe"_qs, text));
        EXPECT_FALSE(finds(kEnglish, u"\u0301"_qs, text));
    }
    EXPECT_FALSE(finds(kEnglish, u"x"_qs, u"ax\u0301"_qs)); // which has no composed form
    EXPECT_TRUE(finds(kEnglish, u"x"_qs, u"ax\u0301x"_qs)); // a later one counts
    EXPECT_FALSE(finds(kEnglish, u"e"_qs, u"\u00ea"_qs));

    // Half of a pair is no character.
    EXPECT_FALSE(finds(kEnglish, QString(QChar(0xd83c)), u"\U0001f3b8"_qs));
    EXPECT_TRUE(finds(kEnglish, u" "_qs, u"a b"_qs));
    EXPECT_FALSE(finds(kEnglish, u" "_qs, u"ab"_qs));
}

TEST(LanguageTest, TurkishHasAnIWithAndOneWithoutADot) {
    const QString dotted = u"\u0130stanbul"_qs;
    EXPECT_TRUE(finds(kTurkish, u"istan"_qs, dotted));
    EXPECT_TRUE(finds(kTurkish, u"istan"_qs, u"I\u0307stanbul"_qs));
    EXPECT_FALSE(finds(kTurkish, u"istan"_qs, u"ISTANBUL"_qs));
    EXPECT_TRUE(finds(kTurkish, u"\u0131s"_qs, u"ISI"_qs));
    EXPECT_TRUE(finds(kEnglish, u"istan"_qs, u"ISTANBUL"_qs));
    EXPECT_FALSE(finds(kEnglish, u"istan"_qs, dotted));
}

TEST(LanguageTest, DatesTellTheLargestUnitThatHasPassed) {
    const RelativeDateFormatter english(kEnglish);
    const QDateTime now(QDate(2024, 3, 31), QTime(12, 0), Qt::LocalTime);
    const auto texts = [&](const std::vector<QDateTime>& dates) {
        QStringList result;
        for (const QDateTime& date : dates) {
            result.push_back(english.format(date, now));
        }
        return result.join(", ").toStdString();
    };
    const auto on = [](int year, int month, int day, int minute) {
        return QDateTime(QDate(year, month, day), QTime(12, minute));
    };
    EXPECT_EQ(texts({now, now.addMSecs(-999), now.addMSecs(999), now.addSecs(-59), now.addSecs(-60),
                     now.addSecs(-2 * 3600), now.toUTC().addSecs(-3600)}),
              "now, now, now, 59 sec. ago, 1 min. ago, 2 hr. ago, 1 hr. ago");
    EXPECT_EQ(texts({now.addSecs(-24 * 3600), now.addDays(-7), now.addDays(-30), on(2024, 2, 29, 0),
                     on(2023, 12, 31, 1), on(2023, 12, 31, 0)}),
              "1 day ago, 1 wk. ago, 4 wk. ago, 1 mo. ago, 2 mo. ago, 3 mo. ago");
    EXPECT_EQ(texts({on(2023, 3, 31, 1), on(2023, 3, 31, 0), now.addYears(-23)}),
              "11 mo. ago, 1 yr. ago, 23 yr. ago");
    EXPECT_EQ(texts({now.addSecs(90), now.addSecs(25 * 3600), now.addMonths(3)}),
              "in 1 min., in 1 day, in 3 mo.");
    const QDateTime earlier = now.addSecs(-2 * 3600);
    EXPECT_EQ(RelativeDateFormatter(QLocale(QLocale::German)).format(earlier, now).toStdString(),
              "vor 2 Std.");
    EXPECT_EQ(RelativeDateFormatter(QLocale::c()).format(earlier, now).toStdString(), "2 hr. ago");
}

} // namespace
} // namespace tessivo
