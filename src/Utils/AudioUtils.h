#pragma once

#include <QString>
#include <QUrl>

namespace tessivo {

// Locations of recordings, and the text of a duration. Any thread.
class AudioUtils {
public:
    // The folder of the recordings, created if it is missing. If it cannot be created, a
    // diagnostic line says why and its location is returned nevertheless.
    static QUrl getLooperRecordingsDirectory();

    // The location of a recording that begins now. The name has a resolution of one second.
    static QUrl createLoopFileURL();

    // Removes the files of recordings that a killed program had not begun yet. Blocks on the disk.
    static void removeStaleRecordings();

    // The location of the newest recording with sound in it that its program did not end, found by
    // its mark; empty when there is none. Blocks on the disk.
    static QUrl findCutOffRecording();

    // Minutes and seconds, at least two digits each, without the fraction: "62:05" for 3725.
    // "00:00" for a number that is negative, not finite or beyond 64 bits.
    static QString formatDuration(double seconds);
};

} // namespace tessivo
