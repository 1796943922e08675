#pragma once

#include "Platform/System/ObservableObject.h"

#include <QUrl>

#include <functional>
#include <memory>

namespace tessivo {

class SimpleAudioEngine;

// Writes what the engine's input tap delivers into a new audio file per take, in the
// input's own format. Main thread only; the buffers are written on the tap thread.
class SimpleRecorder : public ObservableObject {
    Q_OBJECT
    Q_DISABLE_COPY(SimpleRecorder)

public:
    // The engine outlives the recorder.
    explicit SimpleRecorder(SimpleAudioEngine& audioEngine);
    ~SimpleRecorder() override;

    // Begins a take at the current command's moment, in a file of its own name. Throws AudioError
    // when its file cannot be made; recordingURL() is then the location at which there is no file.
    // Harmless during a take.
    void startRecording();

    // Ends the take at the current command's moment; when it returns, the file is complete and
    // holds all that was captured from the one moment to the other.
    void stopRecording();

    // Makes an earlier take the last one, as if it had been recorded here. Not during a take.
    void useRecording(const QUrl& take);

    // Throws the last take's file away in the background, if it is there, then forgets its location
    // and calls the handler. No take may begin until then.
    void clearRecording(std::function<void()> cleared);

    bool isRecording() const { return isRecording_; }

    // Location of the current or last take; empty when there is none.
    const QUrl& recordingURL() const { return recordingURL_; }

signals:
    // Something of the current take could not be written: told at the first failure.
    void writeFailed();

private:
    struct Take;

    SimpleAudioEngine& audioEngine_;
    // The open file, shared only with the handler that the tap runs, and only by way of a
    // weak reference: released here, it is closed as soon as no buffer is being written.
    std::shared_ptr<Take> take_;
    bool isRecording_ = false;
    QUrl recordingURL_;
};

} // namespace tessivo
