#pragma once

#include <QJsonValue>
#include <QString>
#include <QStringView>

#include <array>
#include <optional>

namespace tessivo {

// A transport command, from a button, a key or a MIDI note.
enum class TransportAction { record, play, stop, clear };

// All commands, in the order in which they are listed to the user.
inline constexpr std::array allTransportActions{TransportAction::record, TransportAction::play,
                                                TransportAction::stop, TransportAction::clear};

// The command's stored form: "record", "play", "stop" or "clear".
QString stringValue(TransportAction action);

// The command of exactly that stored form, or none.
std::optional<TransportAction> transportAction(QStringView stored);

// The command as the user reads it: "Record", "Play", "Stop" or "Clear".
QString displayName(TransportAction action);

QJsonValue toJson(TransportAction action);

// Throws std::invalid_argument when the value is not the stored form of a command.
TransportAction transportActionFromJson(const QJsonValue& value);

} // namespace tessivo
