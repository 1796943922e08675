#include "ViewModels/LoopLibraryViewModel.h"

#include "Audio/LoopPreviewEngine.h"
#include "Models/LibraryRig.h"
#include "ViewModels/Library/LoopListModel.h"

#include <QAbstractItemModelTester>

namespace tessivo::test {
namespace {

using Names = std::vector<QString>;

// A loop of the folder with a length that only its record has.
SavedLoop lasting(const SavedLoop& loop, double duration) {
    return {loop.name(), loop.filename(), loop.createdDate(), duration, loop.fileSize()};
}

// The model over a library of a test's own, with a preview engine of its own.
struct BrowserRig : LibraryRig {
    void open(const std::vector<SavedLoop>& loops) {
        write(loops);
        open();
    }
    void open() {
        model = std::make_unique<LoopLibraryViewModel>(std::make_unique<LoopPreviewEngine>(
            std::make_unique<sound::OfflineDevice>(formats(2))));
        tester = std::make_unique<QAbstractItemModelTester>(
            model->loops(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        settle();
    }

    // What the rows show; it must be what the model says it has found.
    Names names() const {
        Names names = namesOf(model->filteredAndSortedLoops());
        Names shown;
        for (int row = 0; row < model->loops()->rowCount(); ++row) {
            shown.push_back(at(row).name());
        }
        EXPECT_EQ(shown, names);
        return names;
    }
    Names found(const QString& text) const {
        model->setSearchText(text);
        return names();
    }
    Names inOrder(SortOrder order) const {
        model->setSortOrder(order);
        return names();
    }
    SavedLoop at(int row) const {
        return model->loops()->index(row, 0).data(LoopListModel::loopRole).value<SavedLoop>();
    }
    bool isMarked(int row) const {
        return model->loops()->index(row, 0).data(LoopListModel::isPreviewingRole).toBool();
    }

    void preview(int row) const {
        model->previewLoop(at(row));
        settle();
    }

    // The message of the alert, which is then dismissed; empty when there was none.
    QString takeAlert() const {
        const QString message = model->showingError() ? model->errorMessage() : QString();
        model->clearError();
        EXPECT_FALSE(model->showingError());
        EXPECT_TRUE(model->errorMessage().isEmpty());
        return message;
    }

    std::unique_ptr<LoopLibraryViewModel> model;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

TEST(LoopLibraryViewModelTest, SearchLooksIntoNamesOnlyAndTakesTheTextAsTyped) {
    BrowserRig rig;
    const QString longName(10'000, u'\u05d0'); // right to left
    const QString markup = "<b>Kick & Snare</b>";
    rig.open({rig.loop("Beat", 5), rig.loop("Vibe", 4), rig.loop("Pad", 3),
              rig.loop(longName, 2, "be long.wav"), rig.loop(markup, 1, "markup.wav")});
    EXPECT_EQ(rig.found("BE"), (Names{"Beat", "Vibe"}));
    EXPECT_EQ(rig.model->libraryStats().left(9).toStdString(), "5 loops \u2022");
    EXPECT_EQ(rig.found(" "), Names{markup});
    EXPECT_EQ(rig.found("be "), Names());
    EXPECT_FALSE(rig.model->isEmpty());
    EXPECT_EQ(rig.found(longName), Names{longName});
    EXPECT_EQ(rig.found("</B>"), Names{markup});
    rig.model->clearSearch();
    EXPECT_EQ(rig.names().size(), 5U);
}

TEST(LoopLibraryViewModelTest, SixOrdersKeepEqualRecordsNewestFirst) {
    BrowserRig rig;
    const SavedLoop newest = lasting(rig.loop("same", 4, "1.wav"), 2.0);
    const SavedLoop newer = lasting(rig.loop("Beat", 3, "2.wav"), 1.0);
    const SavedLoop older = lasting(rig.loop("same", 2, "3.wav"), 2.0);
    const SavedLoop oldest = lasting(rig.loop("\u00c4hre", 1, "4.wav"), 2.0);
    const SavedLoop alike = lasting(rig.loop("ahorn", 1, "5.wav"), 3.0);
    rig.open({oldest, newest, alike, older, newer});
    using Loops = std::vector<SavedLoop>;
    const std::vector<std::pair<SortOrder, Loops>> cases{
        {SortOrder::dateDescending, {newest, newer, older, oldest, alike}},
        {SortOrder::dateAscending, {oldest, alike, older, newer, newest}},
        {SortOrder::nameAscending, {alike, oldest, newer, newest, older}},
        {SortOrder::nameDescending, {newest, older, newer, oldest, alike}},
        {SortOrder::durationAscending, {newer, newest, older, oldest, alike}},
        {SortOrder::durationDescending, {alike, newest, older, oldest, newer}},
    };
    const QVariantList choices = LoopLibraryViewModel::sortOrders();
    ASSERT_EQ(choices.size(), 6);
    EXPECT_EQ(rig.model->sortOrder(), SortOrder::dateDescending);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& [order, loops] = cases[i];
        const QVariantMap choice = choices[static_cast<qsizetype>(i)].toMap();
        EXPECT_EQ(choice["order"].toInt(), static_cast<int>(order));
        EXPECT_EQ(LoopLibraryViewModel::sortOrder(choice["label"].toString()), order);
        rig.inOrder(order);
        EXPECT_EQ(rig.model->filteredAndSortedLoops(), loops) << i;
    }
    EXPECT_EQ(LoopLibraryViewModel::sortOrder("name a-z"), std::nullopt);
    rig.found("s");
    EXPECT_EQ(rig.inOrder(SortOrder::dateAscending), (Names{"same", "same"}));
}

TEST(LoopLibraryViewModelTest, ConfirmedChangesApplyOnceOrTellWhyNot) {
    BrowserRig rig;
    rig.open({rig.loop("Beat", 2), rig.loop("Pad", 1), rig.loop(" ", 0, "nameless.wav")});
    rig.model->deleteLoop(rig.at(2));
    EXPECT_EQ(rig.model->selectedLoopName(), QString("nameless.wav")) << "asked about";
    rig.model->confirmDelete();
    settle();
    rig.model->confirmRename(); // nothing is selected
    rig.model->confirmDelete();
    rig.model->renameLoop(rig.at(0));
    rig.model->setNewLoopName("  \n ");
    rig.model->confirmRename();
    EXPECT_EQ(rig.takeAlert(), QString("Loop name cannot be empty"));
    EXPECT_TRUE(rig.model->showingRenameDialog());
    rig.model->setNewLoopName("  Drums\n");
    rig.model->confirmRename();
    rig.model->confirmRename(); // pressed twice
    EXPECT_FALSE(rig.model->showingRenameDialog() || rig.model->selectedLoop());
    EXPECT_EQ(rig.names(), (Names{"Drums", "Pad"}));

    rig.preview(1);
    rig.model->deleteLoop(rig.at(1));
    EXPECT_TRUE(rig.model->previewEngine()->isPlaying());
    rig.model->confirmDelete();
    rig.model->confirmDelete(); // pressed twice
    settle();
    EXPECT_FALSE(rig.model->showingDeleteConfirmation());
    EXPECT_FALSE(rig.model->previewEngine()->isPlaying());
    EXPECT_EQ(rig.names(), Names{"Drums"});
    EXPECT_EQ(rig.model->libraryStats().toStdString(), "1 loop \u2022 4 KB");
    EXPECT_EQ(rig.takeAlert(), QString());
}

TEST(LoopLibraryViewModelTest, OnASlowDiskCommandsTakeEffectInOrderAndOnNothingElse) {
    BrowserRig rig;
    rig.open({rig.loop("Beat", 3), rig.loop("Pad", 2), rig.loop("Vibe", 1)});
    std::filesystem::remove(rig.folder / "Vibe.wav");
    Names told;
    QObject::connect(rig.model.get(), &LoopLibraryViewModel::errorMessageChanged,
                     [&] { told.push_back(rig.model->errorMessage().section(':', 0, 0)); });
    {
        const StalledDisk disk;
        for (const int row : {0, 2}) {
            rig.model->deleteLoop(rig.at(row));
            rig.model->confirmDelete();
            rig.model->confirmDelete(); // pressed twice
            rig.model->previewLoop(rig.at(0));
        }
        rig.model->renameLoop(rig.at(1));
        EXPECT_TRUE(rig.model->isWaitingForDisk());
        EXPECT_EQ(rig.names().size(), 3U);
    }
    EXPECT_EQ(told, (Names{"Failed to delete loop", "Failed to preview loop"}));
    EXPECT_EQ(rig.names(), (Names{"Pad", "Vibe"}));
    EXPECT_EQ(rig.model->selectedLoopName(), QString("Pad"));
    EXPECT_FALSE(rig.model->isWaitingForDisk());
}

TEST(LoopLibraryViewModelTest, TheMarkerStaysWithTheLoopThatPlays) {
    BrowserRig rig;
    rig.open({rig.loop("Beat", 3), rig.loop("Pad", 2), rig.loop("Vibe", 1)});
    const SavedLoop pad = rig.at(1);
    rig.preview(1);
    EXPECT_TRUE(rig.model->isPreviewingLoop(pad));
    EXPECT_TRUE(rig.isMarked(1));
    EXPECT_FALSE(rig.isMarked(0));

    // Renamed while it plays: another record, the same row.
    const QPersistentModelIndex row = rig.model->loops()->index(1, 0);
    rig.model->setSortOrder(SortOrder::nameAscending);
    rig.model->setSortOrder(SortOrder::dateDescending);
    rig.model->renameLoop(pad);
    rig.model->setNewLoopName("A drum");
    rig.model->confirmRename();
    EXPECT_EQ(rig.at(1).name(), QString("A drum"));
    EXPECT_FALSE(rig.model->isPreviewingLoop(rig.at(1)));
    EXPECT_EQ(row.row(), 1);
    EXPECT_TRUE(rig.isMarked(1));
    // Found again after it was not to be seen, and after the file is read again.
    EXPECT_EQ(rig.found("vibe"), Names{"Vibe"});
    EXPECT_FALSE(rig.isMarked(0));
    rig.found("");
    settle();
    rig.model->refreshLibrary();
    settle();
    EXPECT_TRUE(rig.isMarked(1));

    rig.preview(0);
    EXPECT_TRUE(rig.isMarked(0));
    EXPECT_FALSE(rig.isMarked(1));
    EXPECT_EQ(rig.takeAlert(), QString());
    writeBytes(rig.folder / "Vibe.wav", "no sound");
    rig.preview(2);
    EXPECT_TRUE(rig.takeAlert().startsWith("Failed to preview loop: "));
    EXPECT_FALSE(rig.isMarked(2));

    // The end of a model that previews stops it, and no row is there to be unmarked.
    rig.preview(1);
    EXPECT_TRUE(rig.isMarked(1));
    rig.tester.reset();
    rig.model.reset();
}

TEST(LoopLibraryViewModelTest, ACorruptedLibraryIsToldInATurnOfItsOwn) {
    BrowserRig rig;
    rig.loop("Beat", 1);
    writeBytes(rig.metadata, "{");
    rig.open();
    EXPECT_EQ(rig.names(), Names{"Beat"}); // rebuilt, and yet told
    EXPECT_EQ(rig.takeAlert(), QString("Loop library is corrupted and needs to be rebuilt"));

    writeBytes(rig.metadata, "{");
    bool failed = false;
    LoopLibrary* const store = &rig.model->loopLibrary();
    QObject::connect(store, &LoopLibrary::lastErrorChanged, store, [&] {
        if (store->lastError()) {
            failed = true;
            EXPECT_FALSE(rig.model->showingError());
        }
    });
    rig.model->refreshLibrary();
    settle();
    EXPECT_TRUE(failed);
    EXPECT_TRUE(rig.model->showingError());
}

TEST(LoopLibraryViewModelTest, WhatAPersonChangedInTheFileIsShownAfterRefresh) {
    BrowserRig rig;
    const SavedLoop beat = rig.loop("Beat", 3);
    const SavedLoop pad = rig.loop("Pad", 2);
    rig.open({beat, pad});
    EXPECT_EQ(rig.inOrder(SortOrder::nameAscending), (Names{"Beat", "Pad"}));
    const QPersistentModelIndex row = rig.model->loops()->index(1, 0);
    // The same file under another name and id, the same id twice, and a loop without audio.
    const SavedLoop gone("Gone", "gone.wav", SecondsSince2001(9), 1.0, 1);
    rig.write({SavedLoop("Zither", pad.filename(), pad.createdDate(), 1.0, 7), beat, beat, gone,
               rig.loop("New", 1)});
    rig.model->refreshLibrary();
    settle();
    EXPECT_EQ(rig.names(), (Names{"Beat", "Beat", "New", "Zither"}));
    EXPECT_EQ(row.row(), 3);
    EXPECT_EQ(rig.found("zi"), Names{"Zither"});
}

// In the turn in which a long list comes nothing but its loops is known.
TEST(LoopLibraryViewModelTest, WhatIsDoneBeforeTheKeysAreReadyHolds) {
    for (const bool isAskedMeanwhile : {false, true}) {
        BrowserRig rig;
        rig.open({});
        std::vector<SavedLoop> loops;
        for (int i = 0; i < 300; ++i) {
            loops.push_back(rig.loop("Loop " + QString::number(i), 300 - i));
        }
        rig.write(loops);
        const auto begin = [&] {
            rig.model->setSortOrder(SortOrder::nameDescending);
            rig.model->setSearchText("loop 1");
            rig.model->setSearchText("loop 29");
            rig.model->loopLibrary().renameLoop(loops[7], "A loop 29");
            rig.model->loopLibrary().deleteLoop(loops[290], [](const QString&) {});
            EXPECT_EQ(rig.model->loops()->rowCount(), 300) << "until then";
            if (isAskedMeanwhile) {
                EXPECT_EQ(rig.model->filteredAndSortedLoops().size(), 12U);
            }
        };
        QObject::connect(rig.model.get(), &LoopLibraryViewModel::libraryStatsChanged,
                         rig.model.get(), begin, Qt::SingleShotConnection);
        rig.model->refreshLibrary();
        settle();
        const Names names = rig.names();
        ASSERT_EQ(names.size(), 11U);
        EXPECT_EQ(names.front(), QString("Loop 299"));
        EXPECT_EQ(names.back(), QString("A loop 29"));
        EXPECT_EQ(rig.found("loop 1").size(), 111U);
    }
}

} // namespace
} // namespace tessivo::test
