#include "ViewModels/MIDI/MIDISettings.h"

#include "Audio/MIDIManager.h"

namespace tessivo {

void MIDISettings::setMidiManager(MIDIManager* manager) {
    if (midiManager_ || !manager)
        return;
    midiManager_ = manager;
    adopted_ = editedConfiguration_ = manager->configuration();
    devices_.follow(*manager);
    connect(manager, &MIDIManager::deviceNameChanged, this, &MIDISettings::deviceNameChanged);
    connect(manager, &MIDIManager::configurationChanged, this, &MIDISettings::adoptConfiguration);
    connect(manager, &MIDIManager::isLearningModeChanged, this, &MIDISettings::showMappings);
    connect(manager, &MIDIManager::learningActionChanged, this, &MIDISettings::showMappings);
    connect(manager, &MIDIManager::lastTriggeredActionChanged, this, &MIDISettings::showMappings);
    showMappings();
    emit midiManagerChanged();
    emit deviceNameChanged();
}

bool MIDISettings::hasDevice() const {
    return midiManager_ && midiManager_->deviceName();
}

QString MIDISettings::deviceName() const {
    return hasDevice() ? *midiManager_->deviceName() : QString();
}

void MIDISettings::refresh() {
    midiManager_->refreshAvailableDevices();
}

void MIDISettings::toggleLearning(NoteMapping* mapping) {
    if (isListening(mapping->action()))
        midiManager_->stopLearning();
    else
        midiManager_->startLearning(mapping->action());
}

void MIDISettings::reset() {
    editedConfiguration_ = {};
    showMappings();
}

void MIDISettings::save() {
    midiManager_->setConfiguration(editedConfiguration_);
    midiManager_->saveConfiguration();
}

bool MIDISettings::isListening(TransportAction action) const {
    return midiManager_->isLearningMode() && midiManager_->learningAction() == action;
}

// Writing an equal mapping to the manager also signals; edits of the copy must survive that.
void MIDISettings::adoptConfiguration() {
    if (midiManager_->configuration() == adopted_)
        return;
    adopted_ = editedConfiguration_ = midiManager_->configuration();
    showMappings();
}

void MIDISettings::showMappings() {
    for (NoteMapping* mapping : {&record_, &play_, &stop_, &clear_}) {
        const TransportAction action = mapping->action();
        mapping->show({.note = editedConfiguration_.noteForAction(action),
                       .isListening = isListening(action),
                       .isTriggered = midiManager_->lastTriggeredAction() == action});
    }
}

} // namespace tessivo
