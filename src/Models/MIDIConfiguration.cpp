#include "Models/MIDIConfiguration.h"

#include "Platform/System/LogLine.h"
#include "Platform/System/Preferences.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <cmath>
#include <exception>
#include <limits>
#include <string>

using namespace Qt::StringLiterals;

namespace tessivo {
namespace {

constexpr auto kKey = "MIDIConfiguration"_L1;

std::uint8_t MIDIConfiguration::*fieldOf(TransportAction action) {
    switch (action) {
    case TransportAction::record:
        return &MIDIConfiguration::recordNote;
    case TransportAction::play:
        return &MIDIConfiguration::playNote;
    case TransportAction::stop:
        return &MIDIConfiguration::stopNote;
    case TransportAction::clear:
        break;
    }
    return &MIDIConfiguration::clearNote;
}

QString jsonKey(TransportAction action) {
    return stringValue(action) + "Note"_L1;
}

QByteArray encoded(const MIDIConfiguration& configuration) {
    QJsonObject object;
    for (const TransportAction action : allTransportActions) {
        object[jsonKey(action)] = configuration.noteForAction(action);
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<std::uint8_t> decodedNote(const QJsonValue& value) {
    const double number = value.toDouble(-1);
    if (!value.isDouble() || number != std::floor(number) || number < 0 ||
        number > std::numeric_limits<std::uint8_t>::max()) {
        return {};
    }
    return static_cast<std::uint8_t>(number);
}

std::optional<MIDIConfiguration> decoded(const QByteArray& bytes) {
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    MIDIConfiguration configuration;
    for (const TransportAction action : allTransportActions) {
        const auto note = decodedNote(object.value(jsonKey(action)));
        if (!note) {
            return {};
        }
        configuration.setNoteForAction(action, *note);
    }
    return configuration;
}

} // namespace

std::optional<TransportAction> MIDIConfiguration::actionForNote(std::uint8_t note) const {
    for (const TransportAction action : allTransportActions) {
        if (note == noteForAction(action)) {
            return action;
        }
    }
    return {};
}

std::uint8_t MIDIConfiguration::noteForAction(TransportAction action) const {
    return this->*fieldOf(action);
}

void MIDIConfiguration::setNoteForAction(TransportAction action, std::uint8_t note) {
    this->*fieldOf(action) = note;
}

void MIDIConfiguration::save() const {
    try {
        Preferences::setData(kKey, encoded(*this));
    } catch (const std::exception& error) {
        logLine(std::string("Failed to save MIDI configuration: ") + error.what());
    }
}

MIDIConfiguration MIDIConfiguration::load() {
    const auto stored = Preferences::data(kKey);
    return stored ? decoded(*stored).value_or(MIDIConfiguration()) : MIDIConfiguration();
}

} // namespace tessivo
