#include "ViewModels/Main/ViewModelFactory.h"

#include "Audio/LoopPreviewEngine.h"
#include "ViewModels/Main/Wakefulness.h"

#include <utility>

namespace tessivo {

ViewModelFactory::ViewModelFactory(MakeDevice looperDevice, MakeDevice previewDevice)
    : looperDevice_(std::move(looperDevice))
    , previewDevice_(std::move(previewDevice)) {}

MIDIManager* ViewModelFactory::midiManager() const {
    return &MIDIManager::shared();
}

SimpleLooperViewModel* ViewModelFactory::makeLooper(QObject* window) const {
    auto* const looper = new SimpleLooperViewModel(looperDevice_(), window);
    new Wakefulness(*looper);
    return looper;
}

LoopLibraryViewModel* ViewModelFactory::makeLibrary(QObject* window) const {
    return new LoopLibraryViewModel(std::make_unique<LoopPreviewEngine>(previewDevice_()), window);
}

} // namespace tessivo
