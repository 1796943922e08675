#include "ViewModels/SimpleLooperViewModel.h"

#include "Audio/MIDIManager.h"
#include "Audio/SimplePlayer.h"
#include "Audio/SimpleRecorder.h"
#include "Models/LoopError.h"
#include "Platform/System/BackgroundCall.h"
#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/CommandMoment.h"
#include "Platform/System/LogLine.h"
#include "Platform/System/MainQueue.h"
#include "Platform/System/Paths.h"
#include "Utils/AudioUtils.h"
#include "Utils/LoopFileManager.h"
#include "ViewModels/Main/TakesFolder.h"

#include <QMetaMethod>
#include <QPointer>

#include <chrono>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace tessivo {
namespace {

// From the end of a take to the start of its playback: long enough for the state to be seen
// stopped. The loop sounds already.
constexpr std::chrono::milliseconds kPlaybackDelay{100};

// Reports when the size of an existing take cannot be read.
void checkRecordingFile(const QUrl& url) {
    const auto path = pathOf(url);
    constexpr auto kUnknown = static_cast<std::uintmax_t>(-1);
    std::error_code error;
    if (std::filesystem::exists(path, error) &&
        std::filesystem::file_size(path, error) == kUnknown) {
        logLine("❌ [ERROR] Could not get file size: " + error.message());
    }
}

} // namespace

SimpleLooperViewModel::SimpleLooperViewModel(std::unique_ptr<sound::AudioDevice> device,
                                             QObject* parent)
    : ObservableObject(parent)
    , audioEngine_(std::move(device)) {
    setupObservers();
    watch_.followLibrary(loopLibrary_);
    startAudioEngine();
    BackgroundQueue::post(BackgroundQueue::Priority::utility, [] {
        LoopFileManager::removeStaleCopies();
        AudioUtils::removeStaleRecordings();
    });
    lookForEarlierTake();
}

SimpleLooperViewModel::~SimpleLooperViewModel() = default;

void SimpleLooperViewModel::setupObservers() {
    // A level comes from the main queue, as a task of its own.
    connect(&audioEngine_, &SimpleAudioEngine::inputLevelChanged, this,
            [this] { loopState_.setInputLevel(audioEngine_.inputLevel()); });
    connect(&audioEngine_, &SimpleAudioEngine::inputPeaked, this,
            &SimpleLooperViewModel::inputPeaked);
    connect(&audioEngine_, &SimpleAudioEngine::devicesChanged, this,
            &SimpleLooperViewModel::devicesChanged);
    // Observers expect to run after a change, never inside it.
    connect(&loopState_, &SimpleLoopState::objectWillChange, this, [this] {
        // Without observers every level would wake the event loop once more for nobody.
        static const QMetaMethod told =
            QMetaMethod::fromSignal(&ObservableObject::objectWillChange);
        if (isSignalConnected(told)) {
            MainQueue::post(this, [this] { emit objectWillChange(); });
        }
    });
    connect(&commands_, &CommandQueue::isWaitingChanged, this,
            &SimpleLooperViewModel::isWaitingForDiskChanged);
}

QString SimpleLooperViewModel::devices() {
    const std::string& microphone = audioEngine_.inputNode().deviceName();
    const std::string& speaker = audioEngine_.outputNode().deviceName();
    return (microphone.empty() ? tr("No microphone")
                               : tr("Microphone: %1").arg(QString::fromStdString(microphone))) +
           u'\n' +
           (speaker.empty() ? tr("No speaker")
                            : tr("Speaker: %1").arg(QString::fromStdString(speaker)));
}

void SimpleLooperViewModel::startAudioEngine() {
    try {
        audioEngine_.start();
    } catch (const std::exception& error) {
        logLine(std::string("Failed to start audio engine: ") + error.what());
        notices_.set(Notices::Kind::noSoundServer, true, error.what());
        return;
    }
    audioEngine_.setInputMonitoring(loopState_.inputMonitoringEnabled());
}

void SimpleLooperViewModel::lookForEarlierTake() {
    connect(&notices_, &Notices::foundTakeRequested, this, &SimpleLooperViewModel::useEarlierTake);
    runInBackground(BackgroundQueue::Priority::utility, this, &AudioUtils::findCutOffRecording,
                    [this](const QUrl& take) { offer_.make(take); });
}

void SimpleLooperViewModel::useEarlierTake() {
    commands_.give([this, take = offer_.end()] {
        if (loopState_.transportState() == TransportState::recording) {
            return; // the take that began before it is the recorder's
        }
        recorder_ = &audioEngine_.createRecorder();
        recorder_->useRecording(take);
        postTake(take);
        logLine("Earlier take in use: " + take.toString().toStdString());
    });
}

void SimpleLooperViewModel::setupMIDICallbacks(MIDIManager* manager) {
    const auto command = [self = QPointer(this)](auto pressed) {
        return [self, pressed] {
            if (self) {
                (self->*pressed)();
            }
        };
    };
    watch_.followController(*manager);
    manager->onRecord = command(&SimpleLooperViewModel::recordButtonPressed);
    manager->onPlay = command(&SimpleLooperViewModel::playButtonPressed);
    manager->onStop = command(&SimpleLooperViewModel::stopButtonPressed);
    manager->onClear = command(&SimpleLooperViewModel::clearButtonPressed);
}

void SimpleLooperViewModel::recordButtonPressed() {
    const bool waits = commands_.isWaiting();
    const bool isGiven = commands_.give([this, waits] { record(waits); });
    if (waits && isGiven && ++queuedRecords_ == 1) {
        // Perhaps a take begins with this press.
        audioEngine_.holdRecording(CommandMoment::current());
    }
}

void SimpleLooperViewModel::playButtonPressed() {
    commands_.give([this] { play(); });
}

void SimpleLooperViewModel::stopButtonPressed() {
    dropTake(); // what sounds from memory waits for no disk
    commands_.give([this] { stop(); });
}

void SimpleLooperViewModel::clearButtonPressed() {
    if (loopState_.canClear()) {
        dropTake(); // likewise
    }
    commands_.give([this] { clear(); });
}

void SimpleLooperViewModel::record(bool wasQueued) {
    if (wasQueued && --queuedRecords_ == 0 &&
        loopState_.transportState() != TransportState::stopped) {
        audioEngine_.releaseRecording();
    }
    switch (loopState_.transportState()) {
    case TransportState::stopped:
        startRecording();
        break;
    case TransportState::recording:
        stopRecordingAndStartPlayback();
        break;
    case TransportState::playing:
        break;
    }
}

void SimpleLooperViewModel::play() {
    if (!loopState_.hasAudio()) {
        return;
    }
    switch (loopState_.transportState()) {
    case TransportState::stopped:
        ++deferredPlaybackNumber_; // now instead of later; what sounds of the take goes on
        startPlayback();
        break;
    case TransportState::recording:
        break;
    case TransportState::playing:
        stopPlayback();
        break;
    }
}

void SimpleLooperViewModel::stop() {
    cancelDeferredPlayback();
    switch (loopState_.transportState()) {
    case TransportState::stopped:
        break;
    case TransportState::recording:
        stopRecording();
        break;
    case TransportState::playing:
        stopPlayback();
        break;
    }
}

void SimpleLooperViewModel::clear() {
    if (loopState_.canClear()) {
        cancelDeferredPlayback();
        clearLoop();
    }
}

void SimpleLooperViewModel::toggleInputMonitoring() {
    const bool enabled = !loopState_.inputMonitoringEnabled();
    post([this, enabled] { loopState_.setInputMonitoringEnabled(enabled); });
    audioEngine_.setInputMonitoring(enabled);
}

void SimpleLooperViewModel::startRecording() {
    recorder_ = &audioEngine_.createRecorder();
    watch_.followTake(*recorder_);
    try {
        recorder_->startRecording();
    } catch (const std::exception& error) {
        logLine(std::string("❌ [ERROR] Failed to start recording: ") + error.what());
        logLine(std::string("❌ [ERROR] Error details: ") + error.what());
        notices_.tell(Notices::Kind::recordFailed, error.what());
        return;
    }
    cancelDeferredPlayback(); // now: a take that cannot begin takes nothing from the one before
    beginOtherAudio();
    post([this] {
        loopState_.setTransportState(TransportState::recording);
        loopState_.setIsRecording(true);
    });
}

void SimpleLooperViewModel::stopRecording() {
    if (recorder_ != nullptr) {
        recorder_->stopRecording();
    }
    post([this] {
        loopState_.setTransportState(TransportState::stopped);
        loopState_.setIsRecording(false);
    });
    if (recorder_ == nullptr || recorder_->recordingURL().isEmpty()) {
        logLine("❌ [ERROR] No recording URL found!");
        return;
    }
    const QUrl url = recorder_->recordingURL();
    checkRecordingFile(url);
    postTake(url);
}

void SimpleLooperViewModel::postTake(const QUrl& take) {
    post([this, take] {
        loopState_.setFileURL(take);
        loopState_.setHasAudio(true);
        loopState_.setCurrentSavedLoop({}); // a new take is a new loop
        setCurrentAudio(take);
    });
}

// The loop is heard from memory first: ending the take may wait for a disk.
void SimpleLooperViewModel::stopRecordingAndStartPlayback() {
    const CommandMoment pressed(CommandMoment::current());
    player_ = &audioEngine_.createPlayer();
    player_->setVolume(loopState_.playbackVolume());
    player_->soundTake(CommandMoment::current());
    setTakeBecomesLoop(true);
    stopRecording();
    const std::uint64_t order = ++deferredPlaybackNumber_;
    const auto playInTurn = [this, order] {
        commands_.give([this, order] {
            if (order == deferredPlaybackNumber_) {
                startPlayback();
            }
        });
    };
    MainQueue::postAfter(kPlaybackDelay, this, playInTurn);
}

void SimpleLooperViewModel::cancelDeferredPlayback() {
    ++deferredPlaybackNumber_;
    dropTake();
}

void SimpleLooperViewModel::dropTake() {
    if (player_ != nullptr) {
        player_->dropTake();
    }
    setTakeBecomesLoop(false);
}

void SimpleLooperViewModel::setTakeBecomesLoop(bool becomes) {
    takeBecomesLoop_ = becomes;
    emit takeBecomesLoopChanged();
}

void SimpleLooperViewModel::startPlayback() {
    const QUrl url = loopState_.fileURL();
    if (url.isEmpty()) {
        dropTake();
        return;
    }
    player_ = &audioEngine_.createPlayer();
    runInBackground(
        BackgroundQueue::Priority::userInitiated, this,
        [path = pathOf(url)] { return outcomeOf([&] { return sound::openForPlaying(path); }); },
        commands_.wait([this, url](const OpenedFile& opened) { playFile(url, opened); }));
}

void SimpleLooperViewModel::playFile(const QUrl& url, const OpenedFile& opened) {
    try {
        player_->loadAudioFile(url, opened.get());
        player_->startPlaying();
    } catch (const std::exception& error) {
        dropTake();
        logLine(std::string("Failed to start playback: ") + error.what());
        notices_.tell(Notices::Kind::playFailed, error.what());
        return;
    }
    player_->setVolume(loopState_.playbackVolume());
    post([this] {
        loopState_.setTransportState(TransportState::playing);
        setTakeBecomesLoop(false);
    });
    logLine("Playback started");
}

void SimpleLooperViewModel::stopPlayback() {
    if (player_ != nullptr) {
        player_->stopPlaying();
    }
    post([this] { loopState_.setTransportState(TransportState::stopped); });
    logLine("Playback stopped");
}

void SimpleLooperViewModel::clearLoop() {
    stopPlayback();
    clearLoopState([] { logLine("Loop cleared"); });
}

void SimpleLooperViewModel::clearLoopState(std::function<void()> cleared) {
    if (player_ != nullptr) {
        player_->clearAudioFile();
    }
    const auto goOn = commands_.wait([this, cleared = std::move(cleared)] {
        post([this] {
            loopState_.setHasAudio(false);
            loopState_.setFileURL({});
            loopState_.setCurrentSavedLoop({});
            loopState_.setTransportState(TransportState::stopped);
            setCurrentAudio({});
        });
        cleared();
    });
    recorder_ != nullptr ? recorder_->clearRecording(goOn) : goOn();
}

void SimpleLooperViewModel::saveCurrentLoop(const QString& name) {
    const CurrentAudio audio = [this] {
        const std::scoped_lock lock(currentAudioMutex_);
        return currentAudio_;
    }();
    if (audio.file.isEmpty()) {
        throw LoopError(LoopError::Kind::noAudioToSave);
    }
    const SavedLoop loop = copyToLibrary(audio, name);
    // Not if another take has begun since.
    const auto postUnlessReplaced = [this, number = audio.number](std::function<void()> write) {
        post([this, number, write = std::move(write)] {
            if (currentAudio_.number == number) {
                write();
            }
        });
    };
    try {
        loopLibrary_.saveLoopAndWait(loop);
    } catch (const LoopError&) {
        postUnlessReplaced([this, loop] {
            const std::scoped_lock lock(currentAudioMutex_);
            currentAudio_.unlistedCopy = loop;
        });
        throw;
    }
    postUnlessReplaced([this, loop] { loopState_.setCurrentSavedLoop(loop); });
    logLine("Successfully saved loop: " + name.toStdString());
}

// If only listing it failed before, there is a copy already.
SavedLoop SimpleLooperViewModel::copyToLibrary(const CurrentAudio& audio, const QString& name) {
    if (audio.unlistedCopy && LoopFileManager::validateLoopFile(*audio.unlistedCopy)) {
        return audio.unlistedCopy->renamed(name);
    }
    LoopFileManager::checkDiskSpaceForFile(audio.file);
    return LoopFileManager::saveTemporaryLoopAs(name, audio.file);
}

void SimpleLooperViewModel::loadLoop(const SavedLoop& loop) {
    commands_.give([this, loop] {
        // In order with the changes of the library: what was deleted before is not loaded.
        runInOrder(
            this, [loop] { return LoopFileManager::validateLoopFile(loop); },
            commands_.wait([this, loop](bool isUsable) { finishLoading(loop, isUsable); }));
    });
}

void SimpleLooperViewModel::finishLoading(const SavedLoop& loop, bool isUsable) {
    if (!isUsable) {
        const LoopError error(LoopError::Kind::fileNotFound);
        logLine(std::string("Failed to load loop: ") + error.what());
        notices_.tell(Notices::Kind::loadFailed, error.what());
        return;
    }
    stop();
    clearLoopState([this, loop] {
        const QUrl location = *LoopFileManager::locationOf(loop);
        post([this, loop, location] {
            loopState_.setFileURL(location);
            loopState_.setHasAudio(true);
            loopState_.setCurrentSavedLoop(loop);
            setCurrentAudio(location);
        });
        logLine("Successfully loaded loop: " + loop.name().toStdString());
    });
}

void SimpleLooperViewModel::showSaveDialog() {
    commands_.give([this] {
        if (!loopState_.canSave()) {
            return;
        }
        // The library window may have renamed or deleted loops through its own store. This one has
        // read the changes by the time a name is typed.
        loopLibrary_.loadLibrary();
        post([this] { loopState_.setShowingSaveDialog(true); });
    });
}

void SimpleLooperViewModel::showLoopLibrary() {
    post([this] { loopState_.setShowingLoopLibrary(true); });
}

void SimpleLooperViewModel::showFolderOfTakes() {
    if (!openFolderOfTakes()) {
        notices_.tell(Notices::Kind::folderNotShown,
                      AudioUtils::getLooperRecordingsDirectory().toLocalFile());
    }
}

void SimpleLooperViewModel::setCurrentAudio(const QUrl& file) {
    const std::scoped_lock lock(currentAudioMutex_);
    currentAudio_ = {file, currentAudio_.number + 1, std::nullopt};
}

// A take has begun. Until it ends, a save still saves the audio before it, but must not mark the
// new take as saved.
void SimpleLooperViewModel::beginOtherAudio() {
    const std::scoped_lock lock(currentAudioMutex_);
    ++currentAudio_.number;
}

void SimpleLooperViewModel::post(std::function<void()> writes) {
    MainQueue::post(this, std::move(writes));
}

} // namespace tessivo
