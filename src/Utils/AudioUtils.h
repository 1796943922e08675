#pragma once

#include <QString>
#include <QUrl>

namespace tessivo {

// Where recordings go, and how a duration reads. Any thread.
class AudioUtils {
public:
    // The folder of the recordings, made if it is missing. When it cannot be made, a
    // diagnostic line says why and the location is returned all the same.
    static QUrl getLooperRecordingsDirectory();

    // The location of a recording that begins now. Within one second it is the same.
    static QUrl createLoopFileURL();

    // Minutes and seconds, each at least two digits, fractions cut off: "62:05" for 3725.
    // What is no length of audio (negative, not finite, beyond 64 bits) reads "00:00".
    static QString formatDuration(double seconds);
};

} // namespace tessivo
