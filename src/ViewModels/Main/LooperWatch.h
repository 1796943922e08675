#pragma once

#include "Audio/SimpleAudioEngine.h"
#include "Platform/Files/Folder.h"
#include "ViewModels/Main/Notices.h"

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace tessivo {

class LoopLibrary;
class MIDIManager;
class SimpleLoopState;
class SimpleRecorder;

// Tells in the notices what goes wrong without a command: devices that are missing, sound that is
// lost or stands still, a take or the library that cannot be written, a disk that is running full,
// and a controller that nobody has picked. Main thread only; the disk is asked in the background.
class LooperWatch : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(LooperWatch)

public:
    // The free bytes of that folder's file system, if they can be known. Any thread.
    using FreeSpace = std::function<std::optional<std::uintmax_t>(const std::filesystem::path&)>;

    // All three outlive this.
    LooperWatch(SimpleAudioEngine& engine, SimpleLoopState& state, Notices& notices,
                FreeSpace freeSpace = files::freeSpaceOf);

    void followLibrary(LoopLibrary& library);
    // May be called again.
    void followController(MIDIManager& manager);
    // Before each take.
    void followTake(SimpleRecorder& recorder);

private:
    void forgetWhatWorksAgain();
    void lookAtDevices();
    void tellDevices(bool settled);
    bool isHeard() const;
    void watchForLosses();
    void lookForLosses(bool inTake);
    void lookForCycles();
    void takeBeganOrEnded();
    void takeFailed();
    void askForSpace();
    void tellSpace(std::optional<std::uintmax_t> freeBytes);

    SimpleAudioEngine& engine_;
    SimpleLoopState& state_;
    Notices& notices_;
    const FreeSpace freeSpace_;
    QPointer<MIDIManager> manager_;
    SimpleRecorder* recorder_ = nullptr; // the engine's, from the first take on
    QTimer settling_;
    QTimer losses_; // while anything is heard or recorded
    QTimer space_;
    bool isAskingForSpace_ = false;
    sound::AudioEngine::Statistics known_;
    std::int64_t position_ = 0; // that the cycles had reached
    int looksInVain_ = 0;       // for cycles
};

} // namespace tessivo
