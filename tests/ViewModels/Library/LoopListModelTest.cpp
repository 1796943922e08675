#include "ViewModels/Library/LoopListModel.h"

#include "support/QtTestSupport.h"

#include <QAbstractItemModelTester>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace tessivo::test {
namespace {

using Identity = LoopListModel::Identity;
using Rows = LoopListModel::Rows;

SavedLoop named(const QString& name) {
    return {name, name + ".wav", secondsSince2001Now() - std::chrono::hours(49), 65.0, 1'200'000};
}

// A list that believes what it is told, as a view does, and asks for no more than it must.
class Follower {
public:
    explicit Follower(LoopListModel& model)
        : model_(model) {
        QObject::connect(&model, &LoopListModel::rowsRemoved, &context_,
                         [this](const QModelIndex&, int first, int last) {
                             names_.erase(names_.begin() + first, names_.begin() + last + 1);
                             ++steps_;
                         });
        QObject::connect(&model, &LoopListModel::rowsInserted, &context_,
                         [this](const QModelIndex&, int first, int last) {
                             names_.insert(names_.begin() + first,
                                           static_cast<std::size_t>(last - first + 1), {});
                             read(first, last);
                             ++steps_;
                         });
        QObject::connect(&model, &LoopListModel::rowsMoved, &context_,
                         [this](const QModelIndex&, int from, int, const QModelIndex&, int to) {
                             const QString name = names_[static_cast<std::size_t>(from)];
                             names_.erase(names_.begin() + from);
                             names_.insert(names_.begin() + (to > from ? to - 1 : to), name);
                             ++steps_;
                         });
        QObject::connect(&model, &LoopListModel::dataChanged, &context_,
                         [this](const QModelIndex& first, const QModelIndex& last) {
                             read(first.row(), last.row());
                             ++steps_;
                         });
    }

    const std::vector<QString>& names() const { return names_; }
    int takeSteps() { return std::exchange(steps_, 0); }

private:
    void read(int first, int last) {
        for (int row = first; row <= last; ++row) {
            names_[static_cast<std::size_t>(row)] =
                model_.index(row).data(LoopListModel::loopRole).value<SavedLoop>().name();
        }
    }

    LoopListModel& model_;
    std::vector<QString> names_;
    int steps_ = 0;
    QObject context_;
};

struct ListRig {
    ListRig() {
        std::vector<SavedLoop> loops;
        for (int i = 0; i < 1000; ++i) {
            loops.push_back(named(QString::number(i)));
        }
        show(loops);
        all = catalogue.list({}, SortOrder::dateAscending);
    }

    void show(const std::vector<SavedLoop>& loops) {
        catalogue.setLoops(loops);
        model.refreshLoops();
    }

    Rows where(const std::function<bool(Identity)>& isWanted) const {
        Rows rows;
        std::copy_if(all.begin(), all.end(), std::back_inserter(rows), isWanted);
        return rows;
    }

    // The list becomes that, in no more steps.
    void expectFollows(const Rows& rows, int steps) {
        follower.takeSteps();
        model.setRows(rows);
        std::vector<QString> names;
        std::transform(rows.begin(), rows.end(), std::back_inserter(names),
                       [&](Identity row) { return catalogue.loop(row).name(); });
        ASSERT_EQ(follower.names(), names);
        EXPECT_LE(follower.takeSteps(), steps);
    }

    Rows all;
    LoopCatalogue catalogue;
    LoopListModel model{catalogue};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    Follower follower{model};
};

TEST(LoopListModelTest, AListFollowsEveryChangeInFewSteps) {
    ListRig rig;
    rig.expectFollows(rig.all, 1);
    rig.expectFollows(rig.all, 0);
    rig.expectFollows(rig.where([](Identity i) { return i % 100 != 7; }), 10);
    rig.expectFollows(rig.all, 10);
    rig.expectFollows(rig.where([](Identity i) { return i < 3 || i > 900; }), 1);
    rig.expectFollows(rig.where([](Identity i) { return i > 2 && i < 905; }), 4);
    // Half of all rows, each alone: in place.
    rig.expectFollows(rig.all, 2);
    rig.expectFollows(rig.where([](Identity i) { return i % 2 == 0; }), 2);
    rig.expectFollows(rig.where([](Identity i) { return i % 2 == 1; }), 2);
    Rows reversed = rig.all;
    std::reverse(reversed.begin(), reversed.end());
    rig.expectFollows(reversed, 2);
    rig.expectFollows({}, 1);

    std::mt19937 random(11); // the same changes each time
    for (int change = 0; change < 500; ++change) {
        const auto count = random() % 40;
        Rows rows = rig.where([&](Identity i) { return i < count && random() % 4 > 0; });
        if (!rows.empty() && change % 3 == 1) {
            std::rotate(rows.begin(), rows.begin() + static_cast<int>(random() % rows.size()),
                        rows.end());
        } else if (change % 3 == 2) {
            std::shuffle(rows.begin(), rows.end(), random);
        }
        rig.expectFollows(rows, 65);
    }
}

TEST(LoopListModelTest, ARowThatMovesAloneStaysTheSameRow) {
    ListRig rig;
    const Rows five(rig.all.begin(), rig.all.begin() + 5);
    for (int from = 0; from < 5; ++from) {
        for (int to = 0; to < 5; ++to) {
            rig.model.setRows(five);
            const QPersistentModelIndex moving(rig.model.index(from));
            Rows rows = five;
            rows.erase(rows.begin() + from);
            rows.insert(rows.begin() + to, five[static_cast<std::size_t>(from)]);
            rig.expectFollows(rows, 1);
            EXPECT_EQ(moving.row(), to);
        }
    }
}

TEST(LoopListModelTest, RowsShowTheirLoopWhateverItsDate) {
    ListRig rig;
    rig.model.setRows({0});
    const auto shows = [&](int row, int role) {
        return rig.model.index(row).data(role);
    };
    EXPECT_EQ(shows(0, LoopListModel::loopRole).value<SavedLoop>(), rig.catalogue.loop(0));
    EXPECT_EQ(shows(0, LoopListModel::durationTextRole).toString().toStdString(), "01:05");
    EXPECT_EQ(shows(0, LoopListModel::fileSizeTextRole).toString().toStdString(), "1.2 MB");
    EXPECT_EQ(shows(0, LoopListModel::createdTextRole).toString().toStdString(), "2 days ago");
    // Dates that only a person can have written into the file.
    for (const double date : {-1e300, 1e300}) {
        rig.show({{"x", "0.wav", SecondsSince2001(date), 1.0, 1}});
        EXPECT_EQ(rig.follower.names(), std::vector<QString>{"x"}) << "read again";
        EXPECT_FALSE(shows(0, LoopListModel::createdTextRole).toString().isEmpty());
    }
}

TEST(LoopListModelTest, DatesGrowOlderWhileTheyAreShown) {
    ListRig rig;
    rig.show({{"new", "0.wav", secondsSince2001Now(), 1.0, 1}});
    rig.model.setRows({0});
    const auto text = [&] {
        return rig.model.index(0).data(LoopListModel::createdTextRole).toString();
    };
    std::vector<int> roles;
    QObject::connect(&rig.model, &LoopListModel::dataChanged, &rig.model,
                     [&](const QModelIndex&, const QModelIndex&, const QList<int>& changed) {
                         roles.assign(changed.begin(), changed.end());
                     });
    EXPECT_EQ(text().toStdString(), "now");
    ASSERT_TRUE(runUntil([&] { return !roles.empty(); }, std::chrono::seconds(3)));
    EXPECT_EQ(roles, std::vector<int>{LoopListModel::createdTextRole});
    EXPECT_NE(text().toStdString(), "now");
}

} // namespace
} // namespace tessivo::test
