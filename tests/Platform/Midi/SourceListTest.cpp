#include "Platform/Midi/SourceList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessivo::test {

namespace {

using namespace std::chrono_literals;
using midi::SetupChange;
using midi::SourceList;
using Notices = std::vector<SetupChange>;

constexpr auto kAdded = SetupChange::objectAdded;
constexpr auto kRemoved = SetupChange::objectRemoved;

// A list that has been told of two controllers of one name and a third one.
struct Sources : testing::Test {
    Sources() {
        list.serverBack(now);
        list.appeared("pads", {1, 11});
        list.appeared("pads", {2, 12});
        list.appeared("keys", {3, 13});
        first = list.listed().at(0)->reference;
        second = list.listed().at(1)->reference;
        keys = list.listed().at(2)->reference;
        list.takeNotices(now);
    }

    std::vector<midi::SourceRef> references() const {
        std::vector<midi::SourceRef> all;
        for (const SourceList::Entry* source : list.listed()) {
            all.push_back(source->reference);
        }
        return all;
    }

    SourceList list;
    SourceList::Clock::time_point now;
    midi::SourceRef first = 0;
    midi::SourceRef second = 0;
    midi::SourceRef keys = 0;
};

TEST_F(Sources, OfOneNameKeepTheirReferencesOverAnOutage) {
    list.setConnected(keys);
    list.serverLost();
    EXPECT_EQ(references(), std::vector{keys}) << "only the one that is awaited";
    EXPECT_EQ(list.findPresent(keys), nullptr);
    EXPECT_TRUE(list.somethingIsMissing());
    EXPECT_TRUE(list.takeNotices(now + 1h).empty()) << "no outage is too long";

    // They come back in another order, and in other places.
    now += 1h;
    list.serverBack(now);
    list.appeared("pads", {7, 70});
    EXPECT_TRUE(list.takeNotices(now + 1s).empty()) << "not before the connected one is back";
    list.appeared("keys", {8, 80});
    EXPECT_EQ(list.takeNotices(now + 1s), (Notices{kAdded, kAdded}));
    EXPECT_EQ(list.findPresent(keys)->place.port, 80U);
    list.appeared("pads", {9, 90});
    EXPECT_EQ(references(), (std::vector{first, second, keys}));
    EXPECT_EQ(list.takeNotices(now + 6s), Notices{kAdded});
    EXPECT_FALSE(list.somethingIsMissing());
}

TEST_F(Sources, ThatDoNotReturnAreGoneFiveSecondsLater) {
    list.setConnected(first);
    list.serverLost();
    list.serverBack(now);
    list.appeared("keys", {3, 13});
    EXPECT_TRUE(list.takeNotices(now + 4999ms).empty());
    EXPECT_EQ(list.takeNotices(now + 5s), (Notices{kAdded, kRemoved, kRemoved}));
    EXPECT_EQ(references(), std::vector{keys});
    list.appeared("pads", {1, 11});
    EXPECT_EQ(references(), (std::vector{first, keys})) << "nobody has disconnected it";
    list.disappeared(11, now);
    list.takeNotices(now + 1min);
    list.setConnected(0);
    list.appeared("pads", {1, 11});
    EXPECT_NE(references().back(), first) << "one that was given up is another one";
}

TEST_F(Sources, ThatAreUnpluggedAreToldAtOnceUnlessTheSessionMayBeStopping) {
    list.setConnected(first);
    list.disappeared(12, now);
    EXPECT_EQ(list.takeNotices(now), Notices{kRemoved});
    EXPECT_EQ(references(), (std::vector{first, keys}));

    list.disappeared(11, now);
    list.disappeared(13, now);
    EXPECT_TRUE(list.takeNotices(now + 499ms).empty());
    EXPECT_EQ(references(), std::vector{first}) << "whoever looks meanwhile finds it";
    EXPECT_EQ(list.takeNotices(now + 500ms), (Notices{kRemoved, kRemoved}));

    list.appeared("keys", {4, 14});
    const auto again = references().back();
    list.setConnected(again);
    list.takeNotices(now);
    list.disappeared(14, now);
    list.serverLost();
    EXPECT_TRUE(list.takeNotices(now + 1min).empty()) << "the server went after it";
    list.serverBack(now + 1min);
    list.appeared("keys", {5, 15});
    EXPECT_EQ(references(), std::vector{again});
}

} // namespace

} // namespace tessivo::test
