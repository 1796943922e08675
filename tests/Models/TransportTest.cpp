#include "Models/SimpleLoopState.h"
#include "Models/TransportAction.h"

#include <gtest/gtest.h>

#include <QVariant>

#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

using namespace tessivo;

TEST(TransportActionTest, ConvertsExactlyItsFourStoredForms) {
    const std::vector<std::pair<QString, QString>> expected{
        {"record", "Record"}, {"play", "Play"}, {"stop", "Stop"}, {"clear", "Clear"}};
    ASSERT_EQ(allTransportActions.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const TransportAction action = allTransportActions.at(i);
        EXPECT_EQ(stringValue(action), expected[i].first);
        EXPECT_EQ(displayName(action), expected[i].second);
        EXPECT_EQ(toJson(action), QJsonValue(expected[i].first));
        EXPECT_EQ(transportActionFromJson(toJson(action)), action);
    }
    for (const char* other : {"Record", " record", "record ", "", "pause"}) {
        EXPECT_THROW(transportActionFromJson(QString(other)), std::invalid_argument) << other;
    }
    EXPECT_THROW(transportActionFromJson(0), std::invalid_argument);
}

TEST(SimpleLoopStateTest, AllowsWhatTheStateAllowsAndSaysSoAfterEachWrite) {
    SimpleLoopState state;
    const SavedLoop loop("name", "name.wav", SecondsSince2001(0), 1.0, 44);
    QVariantList seen;
    QObject::connect(&state, &SimpleLoopState::permissionsChanged, [&] {
        seen = {state.property("canPlay"), state.property("canStop"), state.property("canSave"),
                state.property("canClear")};
    });
    for (const bool hasAudio : {false, true}) {
        state.setHasAudio(hasAudio);
        for (const auto transport :
             {TransportState::stopped, TransportState::recording, TransportState::playing}) {
            state.setTransportState(transport);
            for (const bool isSaved : {false, true}) {
                state.setCurrentSavedLoop(isSaved ? std::optional(loop) : std::nullopt);
                const bool stopped = transport == TransportState::stopped;
                const bool ready = stopped && hasAudio;
                EXPECT_EQ(seen, (QVariantList{ready, !stopped, ready && !isSaved, ready}));
            }
        }
    }
}

namespace {

using State = SimpleLoopState;

// Observers read the old value before a write and the new one after it, also when it is equal.
template <class Value>
void checkWrites(const char* property, void (State::*changed)(), void (State::*set)(Value),
                 const QVariant& initial, const std::decay_t<Value>& written) {
    State state;
    QVariantList seen;
    const auto note = [&] {
        seen.push_back(state.property(property));
    };
    QObject::connect(&state, &State::objectWillChange, note);
    QObject::connect(&state, changed, note);
    (state.*set)(written);
    (state.*set)(written);
    const QVariant after = QVariant::fromValue(written);
    EXPECT_EQ(seen, (QVariantList{initial, after, after, after})) << property;
}

} // namespace

TEST(SimpleLoopStateTest, AnnouncesEveryWriteBeforeItAndAgainAfterIt) {
    using S = State;
    checkWrites("transportState", &S::transportStateChanged, &S::setTransportState,
                QVariant::fromValue(TransportState::stopped), TransportState::playing);
    checkWrites("hasAudio", &S::hasAudioChanged, &S::setHasAudio, false, true);
    checkWrites("isRecording", &S::isRecordingChanged, &S::setIsRecording, false, true);
    checkWrites("fileURL", &S::fileURLChanged, &S::setFileURL, QUrl(), QUrl("file:///loop.wav"));
    checkWrites("inputLevel", &S::inputLevelChanged, &S::setInputLevel, 0.0F, 0.25F);
    checkWrites("playbackVolume", &S::playbackVolumeChanged, &S::setPlaybackVolume, 1.0F, 0.5F);
    checkWrites("inputMonitoringEnabled", &S::inputMonitoringEnabledChanged,
                &S::setInputMonitoringEnabled, false, true);
    checkWrites("showingSaveDialog", &S::showingSaveDialogChanged, &S::setShowingSaveDialog, false,
                true);
    checkWrites("showingLoopLibrary", &S::showingLoopLibraryChanged, &S::setShowingLoopLibrary,
                false, true);
}
