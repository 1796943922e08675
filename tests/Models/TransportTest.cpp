#include "Models/SimpleLoopState.h"
#include "Models/TransportAction.h"

#include <gtest/gtest.h>

#include <QVariant>

#include <functional>
#include <stdexcept>
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
        EXPECT_EQ(transportAction(expected[i].first), action);
        EXPECT_EQ(toJson(action), QJsonValue(expected[i].first));
        EXPECT_EQ(transportActionFromJson(toJson(action)), action);
    }
    for (const char* other : {"Record", " record", "record ", "", "pause"}) {
        EXPECT_FALSE(transportAction(QString(other))) << other;
        EXPECT_THROW(transportActionFromJson(QString(other)), std::invalid_argument) << other;
    }
    EXPECT_THROW(transportActionFromJson(0), std::invalid_argument);
    EXPECT_THROW(transportActionFromJson(QJsonValue::Null), std::invalid_argument);
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

TEST(SimpleLoopStateTest, AnnouncesEveryWriteBeforeItAndAgainAfterIt) {
    SimpleLoopState state;
    struct Case {
        const char* property;
        void (SimpleLoopState::*changed)();
        std::function<void()> write;
        QVariant initial;
        QVariant written;
    };
    using S = SimpleLoopState;
    const QUrl url("file:///loop.wav");
    const std::vector<Case> cases{
        {"transportState", &S::transportStateChanged,
         [&] { state.setTransportState(TransportState::playing); },
         QVariant::fromValue(TransportState::stopped),
         QVariant::fromValue(TransportState::playing)},
        {"hasAudio", &S::hasAudioChanged, [&] { state.setHasAudio(true); }, false, true},
        {"isRecording", &S::isRecordingChanged, [&] { state.setIsRecording(true); }, false, true},
        {"fileURL", &S::fileURLChanged, [&] { state.setFileURL(url); }, QUrl(), url},
        {"inputLevel", &S::inputLevelChanged, [&] { state.setInputLevel(0.25F); }, 0.0F, 0.25F},
        {"playbackVolume", &S::playbackVolumeChanged, [&] { state.setPlaybackVolume(0.5F); }, 1.0F,
         0.5F},
        {"inputMonitoringEnabled", &S::inputMonitoringEnabledChanged,
         [&] { state.setInputMonitoringEnabled(true); }, false, true},
        {"showingSaveDialog", &S::showingSaveDialogChanged,
         [&] { state.setProperty("showingSaveDialog", true); }, false, true},
        {"showingLoopLibrary", &S::showingLoopLibraryChanged,
         [&] { state.setProperty("showingLoopLibrary", true); }, false, true},
    };
    for (const Case& c : cases) {
        QVariantList seen;
        QObject context;
        const auto note = [&] {
            seen.push_back(state.property(c.property));
        };
        QObject::connect(&state, &S::objectWillChange, &context, note);
        QObject::connect(&state, c.changed, &context, note);
        c.write();
        c.write();
        EXPECT_EQ(seen, (QVariantList{c.initial, c.written, c.written, c.written})) << c.property;
    }
}
