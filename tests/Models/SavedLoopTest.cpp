#include "Models/SavedLoop.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tessivo;

namespace {

SavedLoop make(const QString& name = "n", double duration = 1.0) {
    return {name, "n.wav", SecondsSince2001(757382400.25), duration, 44};
}

} // namespace

TEST(SavedLoopTest, EveryNewOneHasAnIdOfItsOwnAndCopiesKeepIt) {
    const SavedLoop loop = make();
    const SavedLoop copy = loop;
    EXPECT_FALSE(loop.id().isNull());
    EXPECT_TRUE(copy == loop);
    EXPECT_FALSE(make() == loop) << "same fields, another id";
    const SavedLoop undefined = make("n", std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(undefined == SavedLoop(undefined)) << "durations compare as numbers do";
}
