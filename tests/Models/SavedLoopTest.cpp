#include "Models/SavedLoop.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tessivo;

TEST(SavedLoopTest, EqualsItsCopiesAndNoOther) {
    const auto make = [](double duration) {
        return SavedLoop("n", "n.wav", SecondsSince2001(757382400.25), duration, 44);
    };
    const SavedLoop loop = make(1.0);
    EXPECT_TRUE(SavedLoop(loop) == loop);
    EXPECT_EQ(qHash(SavedLoop(loop)), qHash(loop));
    EXPECT_FALSE(make(1.0) == loop) << "every new one has an id of its own";
    const SavedLoop undefined = make(std::nan(""));
    EXPECT_FALSE(undefined == SavedLoop(undefined)) << "durations compare as numbers do";
}
