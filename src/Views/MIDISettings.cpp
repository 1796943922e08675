#include "Views/MIDISettings.h"

#include "Audio/MIDIManager.h"

namespace tessivo {

void MIDISettings::setMidiManager(MIDIManager* manager) {
    if (midiManager_ || !manager)
        return;
    midiManager_ = manager;
    followed_ = tempConfiguration_ = manager->configuration();
    devices_.follow(*manager);
    connect(manager, &MIDIManager::deviceNameChanged, this, &MIDISettings::deviceNameChanged);
    connect(manager, &MIDIManager::configurationChanged, this, &MIDISettings::followConfiguration);
    connect(manager, &MIDIManager::isLearningModeChanged, this, &MIDISettings::show);
    connect(manager, &MIDIManager::learningActionChanged, this, &MIDISettings::show);
    connect(manager, &MIDIManager::lastTriggeredActionChanged, this, &MIDISettings::show);
    show();
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
    tempConfiguration_ = {};
    show();
}

void MIDISettings::save() {
    midiManager_->setConfiguration(tempConfiguration_);
    midiManager_->saveConfiguration();
}

bool MIDISettings::isListening(TransportAction action) const {
    return midiManager_->isLearningMode() && midiManager_->learningAction() == action;
}

// A write of the mapping that the manager already has leaves the copy as it was edited.
void MIDISettings::followConfiguration() {
    if (midiManager_->configuration() == followed_)
        return;
    followed_ = tempConfiguration_ = midiManager_->configuration();
    show();
}

void MIDISettings::show() {
    for (NoteMapping* mapping : {&record_, &play_, &stop_, &clear_}) {
        const TransportAction action = mapping->action();
        mapping->show({.note = tempConfiguration_.noteForAction(action),
                       .isListening = isListening(action),
                       .isTriggered = midiManager_->lastTriggeredAction() == action});
    }
}

} // namespace tessivo
