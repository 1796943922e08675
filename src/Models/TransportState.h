#pragma once

#include <QMetaType>
#include <QObject>

namespace tessivo {
Q_NAMESPACE

// What the looper is doing.
enum class TransportState {
    stopped,   // nothing is recording or playing
    recording, // the recorder captures the input
    playing    // the player loops the current file
};
Q_ENUM_NS(TransportState)

} // namespace tessivo
