#include "Models/MIDIConfiguration.h"
#include "Platform/System/Preferences.h"
#include "Utils/MIDIUtils.h"
#include "support/QtTestSupport.h"
#include "support/VirtualMidi.h"

#include <gtest/gtest.h>

#include <QSettings>

#include <fstream>
#include <sys/stat.h>

using namespace tessivo;
using namespace tessivo::test;

static const QString kKey = "MIDIConfiguration";

TEST(MIDIConfigurationTest, StoresTheMappingAsBytesOfJsonForTheNextRun) {
    const TemporaryHome home;
    EXPECT_EQ(MIDIConfiguration::load(), (MIDIConfiguration{80, 0, 1, 2}));
    const MIDIConfiguration chosen{60, 61, 62, 255};
    chosen.save();
    EXPECT_EQ(MIDIConfiguration::load(), chosen);
    EXPECT_EQ(Preferences::data(kKey),
              R"({"clearNote":255,"playNote":61,"recordNote":60,"stopNote":62})");
}

TEST(MIDIConfigurationTest, TakesAStoredMappingWholeOrNotAtAllAndSilently) {
    const TemporaryHome home;
    CapturedLines lines;
    const auto loaded = [](const QByteArray& stored) {
        Preferences::setData(kKey, stored);
        return MIDIConfiguration::load();
    };
    const QByteArray whole = R"({"recordNote":5,"playNote":6,"stopNote":7,"clearNote":8})";
    EXPECT_EQ(loaded("\n{ \"clearNote\" : 0,\t\"stopNote\": 255, \"extra\": {},"
                     "\"recordNote\": 9, \"playNote\": 4 } \n"),
              (MIDIConfiguration{9, 4, 255, 0}));
    const MIDIConfiguration defaults;
    for (const char* note : {"300", "-1", "256", "6.5", "\"6\"", "true", "null", "[6]", "1e300"}) {
        EXPECT_EQ(loaded(QByteArray(whole).replace("6", note)), defaults) << note;
    }
    for (const char* key : {"recordNote", "playNote", "stopNote", "clearNote"}) {
        EXPECT_EQ(loaded(QByteArray(whole).replace(key, "otherNote")), defaults) << key;
    }
    for (int length = 0; length < whole.size(); length += 6) {
        EXPECT_EQ(loaded(whole.first(length)), defaults) << length;
    }
    EXPECT_EQ(loaded("[" + whole + "]"), defaults);
    EXPECT_EQ(loaded(whole + "x"), defaults);
    EXPECT_EQ(Preferences::data(kKey), whole + "x"); // a bad mapping stays where it is
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tessivo", "Tessivo")
        .setValue(kKey, QString::fromUtf8(whole));
    EXPECT_EQ(Preferences::data(kKey), std::nullopt);
    EXPECT_EQ(MIDIConfiguration::load(), defaults);
    EXPECT_EQ(lines.take(), Lines());
}

TEST(MIDIConfigurationTest, SaysWhenItCannotBeStored) {
    const TemporaryHome home;
    CapturedLines lines;
    const MIDIConfiguration failing{1, 2, 3, 4};
    const auto saveFails = [&lines, &failing] {
        failing.save();
        const Lines said = lines.take();
        return said.size() == 1 && said[0].rfind("Failed to save MIDI configuration: ", 0) == 0;
    };
    // A file stands where the folder is to be, then a FIFO where the file is to be.
    const auto folder = TemporaryHome::path() / ".config" / "Tessivo";
    std::filesystem::create_directories(folder.parent_path());
    std::ofstream(folder).put('x');
    EXPECT_TRUE(saveFails());
    std::filesystem::remove(folder);
    std::filesystem::create_directory(folder);
    ASSERT_EQ(mkfifo((folder / "Tessivo.conf").c_str(), 0600), 0);
    EXPECT_TRUE(saveFails());
    EXPECT_EQ(MIDIConfiguration::load(), MIDIConfiguration());
}

TEST(MIDIUtilsTest, NamesNotesAndListsTheSourcesThatHaveAName) {
    const std::vector<std::pair<std::uint8_t, QString>> names{
        {0, "C-1"},  {1, "C#-1"}, {11, "B-1"}, {12, "C0"},   {60, "C4"},   {69, "A4"},
        {70, "A#4"}, {80, "G#5"}, {127, "G9"}, {128, "G#9"}, {255, "D#20"}};
    for (const auto& [note, name] : names) {
        EXPECT_EQ(MIDIUtils::midiNoteToName(note), name);
    }
    midi::VirtualMidi system;
    EXPECT_TRUE(MIDIUtils::getAvailableMIDISources(system).empty());
    system.addSource(std::nullopt);
    const std::vector<MIDISource> expected{{"Klavier ü", system.addSource("Klavier ü")},
                                           {"Pads", system.addSource("Pads")}};
    EXPECT_EQ(MIDIUtils::getAvailableMIDISources(system), expected);
}
