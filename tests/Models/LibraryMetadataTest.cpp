#include "Models/LibraryMetadata.h"

#include "support/QtTestSupport.h" // IWYU pragma: keep, prints a QString

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace tessivo;
using namespace tessivo::test;

namespace {

const QByteArray kRecord =
    R"({"createdDate":757382400.125,"duration":2.5,"fileSize":9007199254740993,)"
    R"("filename":"a.wav","id":"0A1B2C3D-4E5F-6789-ABCD-EF0123456789",)"
    R"("name":"a\/b \"ü\" \u0000\n"})";

// One record with a part of it replaced.
QByteArray with(const char* part, const QByteArray& replacement) {
    EXPECT_TRUE(kRecord.contains(part)) << part;
    return '[' + QByteArray(kRecord).replace(part, replacement) + ']';
}

QByteArray repeatedRecord(int count) {
    return '[' + (kRecord + ',').repeated(count - 1) + kRecord + ']';
}

} // namespace

TEST(LibraryMetadataTest, ReadsAndWritesTheFormToTheByte) {
    EXPECT_EQ(LibraryMetadata::encode({}), "[]");
    EXPECT_TRUE(LibraryMetadata::decode(" [ ]\n").empty());
    const auto loops = LibraryMetadata::decode('[' + kRecord + ']');
    ASSERT_EQ(loops.size(), 1U);
    EXPECT_EQ(loops[0].name(), QString::fromUtf8("a/b \"ü\" \0\n", 11));
    EXPECT_EQ(loops[0].createdDate().count(), 757382400.125);
    EXPECT_EQ(loops[0].fileSize(), 9007199254740993);
    EXPECT_EQ(LibraryMetadata::encode(loops), '[' + kRecord + ']');
}

TEST(LibraryMetadataTest, WhatIsWrittenReadsBackEqual) {
    std::vector<SavedLoop> loops;
    constexpr auto kLargest = std::numeric_limits<qint64>::max();
    for (const qint64 size : {qint64{0}, kLargest, -kLargest - 1, (qint64{1} << 53) + 1}) {
        loops.emplace_back(QString(10000, u'é'), "\\/\u202e\U0001F3B5", secondsSince2001Now(),
                           size == 0 ? -0.0 : 1.0 / 3.0, size);
        loops.emplace_back("", "", SecondsSince2001(-1e-300), 1e300, size);
    }
    EXPECT_EQ(LibraryMetadata::decode(LibraryMetadata::encode(loops)), loops);
    for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_THROW(LibraryMetadata::encode({{"", "", SecondsSince2001(0), bad, 0}}),
                     MetadataError);
        EXPECT_THROW(LibraryMetadata::encode({{"", "", SecondsSince2001(bad), 1, 0}}),
                     MetadataError);
    }
}

TEST(LibraryMetadataTest, RecordsAreEqualThatReadTheSame) {
    const auto loopWith = [](const char* part, const char* replacement) {
        return LibraryMetadata::decode(with(part, replacement)).front();
    };
    const SavedLoop loop = loopWith("ü", "\u00fc");
    const SavedLoop same = loopWith("ü", "u\u0308");
    EXPECT_EQ(loop, same);
    EXPECT_EQ(qHash(loop), qHash(same));
    EXPECT_EQ(loopWith("a.wav", "\u00e9.wav"), loopWith("a.wav", "e\u0301.wav"));
    for (const char* part : {"757382400.125", "2.5", "9007199254740993", "a.wav", "0A1B", "ü"}) {
        const char* const other = *part == 'a'   ? "b.wav"
                                  : *part == '0' ? "1A1B"
                                                 : "9007199254740992";
        EXPECT_NE(loop, loopWith(part, other)) << part;
    }
    const SavedLoop undefined("n", "n.wav", SecondsSince2001(0), std::nan(""), 44);
    EXPECT_NE(undefined, SavedLoop(undefined)) << "durations compare as numbers do";
}

TEST(LibraryMetadataTest, ReadsAnyFormThatSaysTheSame) {
    for (const QByteArray& bytes :
         {with("{", R"({"comment":[{"id":null}],)"), with("0A1B2C3D", "0a1b2c3D"),
          with("9007199254740993", "5.0e3"), with("2.5", "-0"), with("757382400.125", "-1e9"),
          with("\"duration\"", "\n\t\"d\\u0075ration\" ")}) {
        EXPECT_EQ(LibraryMetadata::decode(bytes).size(), 1U) << bytes.constData();
    }
    EXPECT_EQ(LibraryMetadata::decode(repeatedRecord(100'000)).size(), 100'000U)
        << "ids may be there more than once";
}

TEST(LibraryMetadataTest, OneFaultMakesAllUnreadable) {
    std::vector<QByteArray> bad{"", "null", "{}", "[1]", "[] []", QByteArray(100'000, '[')};
    bad.push_back('[' + kRecord + ",]");
    bad.push_back('[' + kRecord + ",{}]");
    bad.push_back(with("{", "{\"x\":" + QByteArray(5000, '[') + QByteArray(5000, ']') + ','));
    for (const QByteArray& record :
         {with("a.wav", "a\xff.wav"), with("a.wav", "\xed\xa0\x80"), with("\"a.wav\"", "7"),
          with("2.5", "\"2.5\""), with("2.5", "null"), with("2.5", "1e400"),
          with("757382400.125", "\"2025-01-01T00:00:00Z\""), with("9007199254740993", "5.5"),
          with("9007199254740993", "9223372036854775808"), with("9007199254740993", "\"5\""),
          with("0A1B2C3D", "0A1B2C3"), with("0A1B2C3D", "{0A1B2C3D"), with("ABCD-", "ABCD"),
          with("6789\"", "6789\\n\""), with("\"0A1B2C3D-4E5F-6789-ABCD-EF0123456789\"", "0")}) {
        bad.push_back(record);
    }
    for (const char* key : {"createdDate", "duration", "fileSize", "filename", "id", "name"}) {
        bad.push_back('[' + kRecord + ',' + with(key, "other").mid(1));
    }
    for (const QByteArray& bytes : bad) {
        EXPECT_THROW(LibraryMetadata::decode(bytes), MetadataError) << bytes.left(300).constData();
    }
    for (qsizetype length = 0; length < kRecord.size() + 2; ++length) {
        EXPECT_THROW(LibraryMetadata::decode(repeatedRecord(1).left(length)), MetadataError);
    }
}
