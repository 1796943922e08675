#pragma once

#include "Platform/Sound/File/AudioFile.h"
#include "Platform/Sound/PlayerNode.h"
#include "Platform/System/ObservableObject.h"

#include <QUrl>

#include <cstdint>
#include <memory>

namespace tessivo {

namespace sound {
class AudioEngine;
}

// Plays one file over and over, without a gap between the passes, until it is stopped.
// Main thread only.
class SimplePlayer : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(SimplePlayer)

public:
    // Attaches a player node to the engine, which must outlive the player and may be running.
    explicit SimplePlayer(sound::AudioEngine& audioEngine);
    ~SimplePlayer() override;

    // Takes the file that was opened at that location. While the player loops, the pass in
    // progress finishes with the previous file and the next one is the new file's.
    void loadAudioFile(const QUrl& url, std::shared_ptr<sound::AudioFileReader> file);

    // Before the recorder ends the take at that moment: lets its loop be heard at once, from
    // memory. startPlaying() then goes on with the take's file, which must be loaded, in the same
    // phase. Does nothing without a take or while it plays.
    void soundTake(Moment end);
    // Silences the take's loop unless startPlaying() has taken it over.
    void dropTake();

    // Does nothing without a file, or while it plays.
    void startPlaying();
    // The file stays loaded; the next start begins with its first frame.
    void stopPlaying();

    // Linear gain, not limited.
    void setVolume(float volume);

    // Stops and forgets the file, which stays on disk.
    void clearAudioFile();

    // Of the loaded file, seconds; 0 without one.
    double length() const;
    // The place in it that is being heard, seconds; 0 when stopped.
    double position() const;

    bool isPlaying() const { return isPlaying_; }

    // Location of the loaded file; empty when there is none.
    const QUrl& currentURL() const { return currentURL_; }

private:
    void scheduleLoop();
    void passesQueued(const sound::PlaybackNotice& notice);

    sound::AudioEngine& audioEngine_;
    std::shared_ptr<sound::PlayerNode> playerNode_;
    std::shared_ptr<sound::AudioFileReader> audioFile_;
    bool isPlaying_ = false;
    bool takeSounds_ = false; // and is not playing yet
    QUrl currentURL_;
    std::uint64_t scheduledPass_ = 0; // the one whose notice queues the next
};

} // namespace tessivo
