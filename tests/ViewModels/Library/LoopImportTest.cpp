#include "Models/LibraryRig.h"
#include "Platform/System/BackgroundQueue.h"
#include "ViewModels/LooperRig.h"

#include <sys/stat.h>

using namespace tessivo;
using namespace tessivo::test;
using Kind = Notices::Kind;

namespace {

struct ImportRig : LooperRig {
    ImportRig() {
        settle();
        std::filesystem::create_directory(source);
    }

    QUrl make(const QString& name, std::size_t channels = 1, std::size_t frames = 960) const {
        const auto path = source / name.toStdString();
        writeFile(path, 48000, Channels(channels, noise(frames, 7)));
        return urlOf(path);
    }
    void import(const QList<QUrl>& files) const {
        import_().importFiles(files);
        EXPECT_TRUE(runUntil([this] { return !import_().isImporting(); }));
        settle();
    }
    LoopImport& import_() const { return *looper->loopImport(); }
    // What the next start will find.
    static std::vector<QString> stored() {
        LoopLibrary library;
        settle();
        return namesOf(library.savedLoops());
    }
    QString notice() const { return looper->notices()->text(); }

    std::filesystem::path source = home.path() / "drop";
};

using Names = std::vector<QString>;

} // namespace

TEST(LoopImportTest, ABadFileDoesNotStopTheOthersAndEachIsTold) {
    const ImportRig rig;
    rig.state->setShowingLoopLibrary(true);
    std::ofstream(rig.source / "notes.txt") << "not audio";
    std::filesystem::create_directory(rig.source / "folder.wav");
    ASSERT_EQ(::mkfifo((rig.source / "pipe.wav").c_str(), 0600), 0);
    const QUrl first = rig.make("first.wav");
    rig.import({urlOf(rig.source / "notes.txt"), first, first, QUrl("http://host/a.wav"),
                urlOf(rig.source / "folder.wav"), urlOf(rig.source / "pipe.wav"),
                rig.make("wide.wav", 3), rig.make("last.wav")});
    EXPECT_EQ(rig.stored(), (Names{"last", "wide", "first"}));
    EXPECT_EQ(rig.import_().report(), "Not an audio file: \"notes.txt\": Format not recognised.\n"
                                      "http://host/a.wav: This is not on this computer\n"
                                      "folder.wav: This is a folder\n"
                                      "Not an audio file: \"pipe.wav\"\n"
                                      "wide: Of its 3 channels the first two are heard");
    EXPECT_EQ(rig.notice(), "");
    rig.import_().clearReport();

    // A loop's own file is where it belongs; another import of a file is another loop.
    rig.import({urlOf(rig.home.savedLoops() / "first.wav"), first});
    EXPECT_EQ(rig.stored(), (Names{"first_1", "last", "wide", "first"}));
    EXPECT_EQ(rig.import_().report(), "");

    QList<QUrl> gone;
    for (int i = 0; i < 9; ++i) {
        gone += urlOf(rig.source / ("gone " + std::to_string(i)));
    }
    rig.import(gone);
    EXPECT_TRUE(rig.import_().report().endsWith("\nand 4 more"));
    EXPECT_EQ(rig.import_().report().count('\n'), 5);
}

TEST(LoopImportTest, EveryListShowsWhatCameAlsoOneThatIsLoading) {
    const ImportRig rig;
    LoopLibrary shown;
    settle();
    rig.import_().importFiles({rig.make("Beat.wav"), rig.make("Vibe.wav")});
    EXPECT_EQ(rig.import_().activity(), "Importing 1 of 2: Beat.wav");
    BackgroundQueue::waitForAll();
    LoopLibrary loading; // has read the file before the first one is in it
    BackgroundQueue::waitForAll();
    settle();
    EXPECT_FALSE(rig.import_().isImporting());
    for (const LoopLibrary* library : {&shown, &loading, &rig.looper->loopLibrary()}) {
        EXPECT_EQ(namesOf(library->savedLoops()), (Names{"Vibe", "Beat"}));
    }
    EXPECT_EQ(rig.notice(), "Imported into the library: Beat, Vibe");
    rig.import({rig.make("Pad.wav")});
    EXPECT_EQ(rig.notice(), "Imported into the library: Pad");
    EXPECT_EQ(rig.stored(), (Names{"Pad", "Vibe", "Beat"}));
}

TEST(LoopImportTest, CancelLeavesOutWhatIsNotDone) {
    const ImportRig rig;
    std::optional<StalledDisk> stalled(std::in_place);
    rig.import_().importFiles({rig.make("a.wav"), rig.make("b.wav")});
    rig.import_().cancel();
    stalled.reset();
    EXPECT_FALSE(rig.import_().isImporting());
    EXPECT_EQ(rig.stored(), Names{});
    rig.import({rig.make("c.wav")});
    EXPECT_EQ(rig.stored(), Names{"c"});
}

TEST(LoopImportTest, GivenFilesAreOfferedAndNeverDuringATake) {
    ImportRig rig;
    const QStringList files{rig.make("Beat.wav").toLocalFile()};
    Notices& notices = *rig.looper->notices();
    rig.record();
    rig.import_().offer(files);
    EXPECT_FALSE(notices.has(Kind::importOffered));
    rig.feed(Channels(2, noise(2000, 1)));
    rig.stop();
    EXPECT_EQ(rig.notice(), "Import Beat.wav into the library?");
    EXPECT_EQ(notices.button(), "Import");
    notices.press();
    EXPECT_TRUE(rig.state->showingLoopLibrary());
    EXPECT_FALSE(notices.has(Kind::importOffered));
    settle();
    EXPECT_EQ(rig.stored(), Names{"Beat"});

    rig.import_().offer(files); // the library is open
    settle();
    EXPECT_EQ(rig.stored(), (Names{"Beat_1", "Beat"}));

    rig.state->setShowingLoopLibrary(false);
    rig.play();
    ASSERT_TRUE(rig.becomes(TransportState::playing));
    rig.import_().offer(files + QStringList{"/none"});
    EXPECT_EQ(rig.notice(), "Import 2 files into the library?");
    notices.press();
    settle();
    EXPECT_FALSE(rig.state->showingLoopLibrary());
    EXPECT_EQ(rig.notice(), "The audio file could not be opened: \"none\": "
                            "No such file or directory");
    EXPECT_EQ(rig.stored().size(), 3U);
}
