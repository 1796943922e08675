#include "e2e/Stage.h"

#include <gtest/gtest.h>

// For those who have another keyboard than an American one, or hear what others see.
namespace tessivo::test {

namespace {

// On keyboards whose layout has other letters, by the code of the key, as xdotool would otherwise
// lend the layout the letter.
constexpr const char* kPlaceOfS = "ctrl+39";
constexpr const char* kPlaceOfO = "ctrl+32";
constexpr const char* kPlaceOfPeriod = "60";

TEST(AccessTest, KeysOfARussianKeyboardAloneCommandByTheirPlaces) {
    Stage stage;
    stage.start();
    runProgram({"setxkbmap", "ru"});
    AppProcess& app = *stage.app;
    stage.feed();
    stage.recordLoop(0.3);
    app.press(kPlaceOfPeriod);
    app.await("Playback stopped");
    app.press(kPlaceOfS);
    app.awaitWindow("Save Loop");
    app.press("Escape");
    app.awaitWindow("Tessivo");
    app.press(kPlaceOfO);
    app.awaitWindow("Loop Library");
}

TEST(AccessTest, ScreenReaderHearsOfEveryStateInTheLanguageOfTheSession) {
    Stage stage;
    std::vector<std::string> german = kReadable;
    german.emplace_back("LC_ALL=de_DE.UTF-8");
    stage.start(german);
    stage.feed();
    press("Tessivo", {{"Return", "Aufnahme läuft …"},
                      {"Return", "Loop läuft"},
                      {"period", "Angehalten"},
                      {"ctrl+BackSpace", "Aufnehmen drücken"}});
}

} // namespace

} // namespace tessivo::test
