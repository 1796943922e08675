#pragma once

#include "Models/MIDIConfiguration.h"
#include "ViewModels/MIDI/MIDIDevices.h"
#include "ViewModels/MIDI/NoteMapping.h"

#include <QObject>

Q_MOC_INCLUDE("Audio/MIDIManager.h")

namespace tessivo {

class MIDIManager;

// What the MIDI settings sheet shows: the manager's devices, and a copy of its note mapping, which
// the sheet edits. Whenever the manager's mapping changes, for example by a learned note, the copy
// becomes that mapping and edits are lost. Only save() gives the copy to the manager.
class MIDISettings : public QObject {
    Q_OBJECT
    // Set once. The manager must outlive this.
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
    QString deviceName() const; // empty when no device is connected
    MIDIDevices* devices() { return &devices_; }
    NoteMapping* record() { return &record_; }
    NoteMapping* play() { return &play_; }
    NoteMapping* stop() { return &stop_; }
    NoteMapping* clear() { return &clear_; }

    // Renews the list of devices.
    Q_INVOKABLE void refresh();
    // Starts learning this command's note, or stops when it is being learned already.
    Q_INVOKABLE void toggleLearning(tessivo::NoteMapping* mapping);
    // Sets the copy to the default mapping.
    Q_INVOKABLE void reset();
    // Makes the copy the manager's mapping and stores it.
    Q_INVOKABLE void save();

signals:
    void midiManagerChanged();
    void deviceNameChanged();

private:
    bool isListening(TransportAction action) const;
    void adoptConfiguration();
    void showMappings();

    MIDIManager* midiManager_ = nullptr;
    MIDIConfiguration adopted_; // the manager's mapping when it last changed
    MIDIConfiguration editedConfiguration_;
    MIDIDevices devices_{this};
    NoteMapping record_{TransportAction::record, this};
    NoteMapping play_{TransportAction::play, this};
    NoteMapping stop_{TransportAction::stop, this};
    NoteMapping clear_{TransportAction::clear, this};
};

} // namespace tessivo
