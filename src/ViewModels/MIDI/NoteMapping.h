#pragma once

#include "Models/TransportAction.h"

#include <QObject>

#include <cstdint>

namespace tessivo {

// The note of one transport command, as the MIDI settings show it. MIDISettings writes it.
class NoteMapping : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString label READ label CONSTANT)
    Q_PROPERTY(int note READ note NOTIFY changed)
    Q_PROPERTY(QString noteName READ noteName NOTIFY changed)
    Q_PROPERTY(bool isListening READ isListening NOTIFY changed)
    Q_PROPERTY(bool isTriggered READ isTriggered NOTIFY changed)

public:
    struct Shown {
        std::uint8_t note = 0;
        bool isListening = false; // the next note will be learned for this command
        bool isTriggered = false; // for a moment after the command was triggered or learned

        friend bool operator==(const Shown&, const Shown&) = default;
    };

    NoteMapping(TransportAction action, QObject* parent);

    TransportAction action() const { return action_; }
    QString label() const;
    int note() const { return shown_.note; }
    QString noteName() const;
    bool isListening() const { return shown_.isListening; }
    bool isTriggered() const { return shown_.isTriggered; }

    void show(const Shown& shown);

signals:
    void changed();

private:
    TransportAction action_;
    Shown shown_;
};

} // namespace tessivo
