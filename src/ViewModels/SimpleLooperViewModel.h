#pragma once

#include "Audio/SimpleAudioEngine.h"
#include "Models/LoopLibrary.h"
#include "Models/SimpleLoopState.h"
#include "Platform/Sound/File/AudioFile.h"
#include "Platform/System/ObservableObject.h"
#include "ViewModels/Library/LoopImport.h"
#include "ViewModels/Main/CommandQueue.h"
#include "ViewModels/Main/LoopTime.h"
#include "ViewModels/Main/LooperWatch.h"
#include "ViewModels/Main/Notices.h"
#include "ViewModels/Main/TakeOffer.h"

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

Q_MOC_INCLUDE("Audio/MIDIManager.h")

namespace tessivo {

class MIDIManager;
class SimplePlayer;
class SimpleRecorder;

// The looper's one view model: turns the transport commands and the monitoring switch into calls on
// the audio engine, its recorder and its player, and into writes of the loop state. Main thread
// only, except saveCurrentLoop().
//
// Writes of the loop state are posted, so within one operation the state keeps its old values;
// diagnostic lines appear at once. A change of the loop state is signalled as a change of the
// view model too. Errors of the audio side become diagnostic lines here.
//
// A command that needs the disk waits for it in the background. Those that are given meanwhile
// take effect after it, in their order.
class SimpleLooperViewModel : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(SimpleLooperViewModel)
    Q_PROPERTY(tessivo::SimpleLoopState* loopState READ loopState CONSTANT)
    Q_PROPERTY(tessivo::Notices* notices READ notices CONSTANT)
    Q_PROPERTY(tessivo::LoopImport* loopImport READ loopImport CONSTANT)
    Q_PROPERTY(tessivo::LoopTime* time READ time CONSTANT)
    // The microphone and the speaker in use, by the names that people know.
    Q_PROPERTY(QString devices READ devices NOTIFY devicesChanged)
    // A command waits for the disk.
    Q_PROPERTY(bool isWaitingForDisk READ isWaitingForDisk NOTIFY isWaitingForDiskChanged)

public:
    // Records from and plays to this device, and starts it.
    explicit SimpleLooperViewModel(std::unique_ptr<sound::AudioDevice> device,
                                   QObject* parent = nullptr);
    ~SimpleLooperViewModel() override;

    // Owned by the view model, the same for its whole life.
    SimpleLoopState* loopState() { return &loopState_; }
    // What the performer is told; likewise.
    Notices* notices() { return &notices_; }
    // What brings files into the library; likewise.
    LoopImport* loopImport() { return &loopImport_; }
    // What the time line shows; likewise.
    LoopTime* time() { return &time_; }
    QString devices();
    bool isWaitingForDisk() const { return commands_.isWaiting(); }
    // A take has just ended and goes on as a loop, which is not said to be playing yet.
    bool takeBecomesLoop() const { return takeBecomesLoop_; }
    // The library that save adds to; likewise.
    LoopLibrary& loopLibrary() { return loopLibrary_; }

    // Copies the current loop into the library under that name; returns when the library on the
    // disk has it. Any thread; blocks on the disk. Throws a LoopError or a system error. Then
    // nothing has changed, unless only the library's list could not be written: it keeps the
    // loop, and another try needs no other copy.
    void saveCurrentLoop(const QString& name);

    // Stops whatever is going on and makes the library's file the current loop, waiting to
    // be played. When its audio is gone, a diagnostic line and a notice say so, and nothing has
    // changed.
    Q_INVOKABLE void loadLoop(const tessivo::SavedLoop& loop);

    // From now on the manager's notes trigger this view model's commands. The manager may outlive
    // the view model; its notes then do nothing.
    Q_INVOKABLE void setupMIDICallbacks(tessivo::MIDIManager* manager);

public slots:
    // The four transport commands. A command that is not available in the current state does
    // nothing.
    void recordButtonPressed();
    void playButtonPressed();
    void stopButtonPressed();
    void clearButtonPressed();

    void toggleInputMonitoring();

    // Show the save sheet, if there is something to save, and the library window.
    void showSaveDialog();
    void showLoopLibrary();
    // In the desktop's file manager.
    void showFolderOfTakes();

signals:
    void isWaitingForDiskChanged();
    void devicesChanged();
    void inputPeaked(); // see SimpleAudioEngine
    void takeBecomesLoopChanged();

private:
    // What was opened, or why it could not be.
    using OpenedFile = std::shared_future<std::shared_ptr<sound::AudioFileReader>>;

    void setupObservers();
    void startAudioEngine();
    void lookForEarlierTake();
    void useEarlierTake();
    void record(bool wasQueued);
    void play();
    void stop();
    void clear();
    void startRecording();
    void stopRecording();
    void stopRecordingAndStartPlayback();
    void cancelDeferredPlayback();
    void dropTake();
    void setTakeBecomesLoop(bool becomes);
    void startPlayback();
    void playFile(const QUrl& url, const OpenedFile& opened);
    void stopPlayback();
    void clearLoop();
    void postTake(const QUrl& take);
    void clearLoopState(std::function<void()> cleared);
    void finishLoading(const SavedLoop& loop, bool isUsable);
    void setCurrentAudio(const QUrl& file);
    void beginOtherAudio();
    void post(std::function<void()> writes);

    // The part of the loop state that a save on another thread may read. The main thread writes it
    // together with the state, under the mutex; a save takes a copy.
    struct CurrentAudio {
        QUrl file;                             // empty: none
        std::uint64_t number = 0;              // distinguishes takes with the same file name
        std::optional<SavedLoop> unlistedCopy; // in the library's folder, but not in its file
    };
    static SavedLoop copyToLibrary(const CurrentAudio& audio, const QString& name);

    SimpleLoopState loopState_;
    LoopLibrary loopLibrary_;
    SimpleAudioEngine audioEngine_;
    Notices notices_;
    CommandQueue commands_;
    LooperWatch watch_{audioEngine_, loopState_, notices_};
    TakeOffer offer_{loopState_, notices_};
    LoopImport loopImport_{loopLibrary_, loopState_, notices_};
    LoopTime time_{audioEngine_, loopState_};
    SimpleRecorder* recorder_ = nullptr; // the engine's, from the first recording on
    SimplePlayer* player_ = nullptr;     // the engine's, from the first playback on
    int queuedRecords_ = 0;              // for the first of them the input is held
    std::uint64_t deferredPlaybackNumber_ =
        0; // number of the deferred playback that is still valid
    bool takeBecomesLoop_ = false;
    std::mutex currentAudioMutex_;
    CurrentAudio currentAudio_;
};

} // namespace tessivo
