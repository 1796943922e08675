#pragma once

#include "Audio/MIDIManager.h"
#include "ViewModels/LoopLibraryViewModel.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

namespace tessivo {

// Makes the view models of the windows, on the sound devices that the program's entry chooses.
// The entry hands it to the main window. Main thread only.
class ViewModelFactory : public QObject {
    Q_OBJECT
    // The application's one manager, made when it is first asked for.
    Q_PROPERTY(tessivo::MIDIManager* midiManager READ midiManager CONSTANT)

public:
    using MakeDevice = std::function<std::unique_ptr<sound::AudioDevice>()>;

    ViewModelFactory(MakeDevice looperDevice, MakeDevice previewDevice);

    MIDIManager* midiManager() const;

    // Each belongs to the window that asks for it, and ends with that window.
    Q_INVOKABLE tessivo::SimpleLooperViewModel* makeLooper(QObject* window) const;
    Q_INVOKABLE tessivo::LoopLibraryViewModel* makeLibrary(QObject* window) const;

signals:
    // The program was given audio files (absolute paths) to take into the library, by its command
    // line or later by another start of it. Sent when the main window is there.
    void filesGiven(const QStringList& paths);

private:
    MakeDevice looperDevice_;
    MakeDevice previewDevice_;
};

} // namespace tessivo
