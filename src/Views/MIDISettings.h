#pragma once

#include "Models/MIDIConfiguration.h"
#include "Views/MIDIDevices.h"
#include "Views/NoteMapping.h"

#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

class MIDIManager;

// What the MIDI settings sheet shows of the manager, and the copy of its note mapping that the
// sheet edits. The copy follows the manager's mapping whenever that becomes another one, which
// is how a learned note gets into it; the manager gets the copy only by a save.
class MIDISettings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    // Set once. It must outlive this.
    Q_PROPERTY(tessivo::MIDIManager* midiManager READ midiManager WRITE setMidiManager NOTIFY
                   midiManagerChanged REQUIRED)
    Q_PROPERTY(bool hasDevice READ hasDevice NOTIFY deviceNameChanged)
    Q_PROPERTY(QString deviceName READ deviceName NOTIFY deviceNameChanged)
    Q_PROPERTY(tessivo::MIDIDevices* devices READ devices CONSTANT)
    Q_PROPERTY(tessivo::NoteMapping* record READ record CONSTANT)
    Q_PROPERTY(tessivo::NoteMapping* play READ play CONSTANT)
    Q_PROPERTY(tessivo::NoteMapping* stop READ stop CONSTANT)
    Q_PROPERTY(tessivo::NoteMapping* clear READ clear CONSTANT)

public:
    using QObject::QObject;

    MIDIManager* midiManager() const { return midiManager_; }
    void setMidiManager(MIDIManager* manager);

    bool hasDevice() const;
    QString deviceName() const; // empty without one
    MIDIDevices* devices() { return &devices_; }
    NoteMapping* record() { return &record_; }
    NoteMapping* play() { return &play_; }
    NoteMapping* stop() { return &stop_; }
    NoteMapping* clear() { return &clear_; }

    // Renews the list of devices.
    Q_INVOKABLE void refresh();
    // Starts listening for that command's note, or ends it.
    Q_INVOKABLE void toggleLearning(tessivo::NoteMapping* mapping);
    // Puts the usual mapping into the copy.
    Q_INVOKABLE void reset();
    // Makes the copy the manager's mapping, and the stored one.
    Q_INVOKABLE void save();

signals:
    void midiManagerChanged();
    void deviceNameChanged();

private:
    bool isListening(TransportAction action) const;
    void followConfiguration();
    void show();

    MIDIManager* midiManager_ = nullptr;
    MIDIConfiguration followed_; // the manager's mapping, as last seen
    MIDIConfiguration tempConfiguration_;
    MIDIDevices devices_{this};
    NoteMapping record_{TransportAction::record, this};
    NoteMapping play_{TransportAction::play, this};
    NoteMapping stop_{TransportAction::stop, this};
    NoteMapping clear_{TransportAction::clear, this};
};

} // namespace tessivo
