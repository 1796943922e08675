#pragma once

#include "Audio/LoopPreviewEngine.h"
#include "Audio/MIDIManager.h"
#include "Models/SavedLoop.h"
#include "Models/SimpleLoopState.h"
#include "ViewModels/Library/LoopExporter.h"
#include "ViewModels/Library/LoopImport.h"
#include "ViewModels/Library/SortOrder.h"
#include "ViewModels/LoopLibraryViewModel.h"
#include "ViewModels/MIDI/MIDISettings.h"
#include "ViewModels/Main/LoopTime.h"
#include "ViewModels/Main/Notices.h"
#include "ViewModels/Main/ViewModelFactory.h"
#include "ViewModels/Save/LoopMeasurement.h"
#include "ViewModels/Save/LoopNames.h"
#include "ViewModels/Save/LoopSaver.h"
#include "ViewModels/SavePanel/SaveLocations.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QAbstractItemModel>
#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

// What QML may see of the layers below, which know nothing of QML themselves.

// Types that QML makes.

struct LoopExporterForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopExporter)
    QML_NAMED_ELEMENT(LoopExporter)
};

struct LoopMeasurementForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopMeasurement)
    QML_NAMED_ELEMENT(LoopMeasurement)
};

struct LoopSaverForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopSaver)
    QML_NAMED_ELEMENT(LoopSaver)
};

struct MIDISettingsForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::MIDISettings)
    QML_NAMED_ELEMENT(MIDISettings)
};

// Types of which there is one.

struct LoopNamesForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopNames)
    QML_NAMED_ELEMENT(LoopNames)
    QML_SINGLETON
};

struct SaveLocationsForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SaveLocations)
    QML_NAMED_ELEMENT(SaveLocations)
    QML_SINGLETON
};

// Types that QML is given.

struct ViewModelFactoryForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::ViewModelFactory)
    QML_NAMED_ELEMENT(ViewModelFactory)
    QML_UNCREATABLE("The program's entry makes it")
};

struct SimpleLooperViewModelForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SimpleLooperViewModel)
    QML_NAMED_ELEMENT(SimpleLooperViewModel)
    QML_UNCREATABLE("The factory makes it")
};

struct NoticesForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::Notices)
    QML_NAMED_ELEMENT(Notices)
    QML_UNCREATABLE("The controller has them")
};

struct LoopImportForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopImport)
    QML_NAMED_ELEMENT(LoopImport)
    QML_UNCREATABLE("The controller has it")
};

struct LoopTimeForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopTime)
    QML_NAMED_ELEMENT(LoopTime)
    QML_UNCREATABLE("The controller has it")
};

struct LoopLibraryViewModelForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopLibraryViewModel)
    QML_NAMED_ELEMENT(LoopLibraryViewModel)
    QML_UNCREATABLE("The factory makes it")
};

struct SimpleLoopStateForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SimpleLoopState)
    QML_NAMED_ELEMENT(SimpleLoopState)
    QML_UNCREATABLE("The controller has it")
};

struct LoopPreviewEngineForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopPreviewEngine)
    QML_NAMED_ELEMENT(LoopPreviewEngine)
    QML_UNCREATABLE("The library's model has it")
};

struct MIDIManagerForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::MIDIManager)
    QML_NAMED_ELEMENT(MIDIManager)
    QML_UNCREATABLE("There is one, which the factory has")
};

struct NoteMappingForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::NoteMapping)
    QML_NAMED_ELEMENT(NoteMapping)
    QML_UNCREATABLE("The MIDI settings have one for each command")
};

struct MIDIDevicesForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::MIDIDevices)
    QML_ANONYMOUS
};

struct RowsForeign {
    Q_GADGET
    QML_FOREIGN(QAbstractItemModel)
    QML_ANONYMOUS
};

struct SavedLoopForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SavedLoop)
    QML_VALUE_TYPE(savedLoop)
};

namespace enumerations {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tessivo)
QML_NAMED_ELEMENT(Enumerations)
} // namespace enumerations

namespace sortOrders {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tessivo::sorting)
QML_NAMED_ELEMENT(SortOrders)
} // namespace sortOrders

// The transport states by name: QML reaches enumerators only when they begin with a capital.
class TransportStates : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(tessivo::TransportState stopped READ stopped CONSTANT)
    Q_PROPERTY(tessivo::TransportState recording READ recording CONSTANT)
    Q_PROPERTY(tessivo::TransportState playing READ playing CONSTANT)

public:
    TransportState stopped() const { return TransportState::stopped; }
    TransportState recording() const { return TransportState::recording; }
    TransportState playing() const { return TransportState::playing; }
};

} // namespace tessivo
