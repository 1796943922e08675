#pragma once

#include "Audio/LoopPreviewEngine.h"
#include "Audio/MIDIManager.h"
#include "Models/SavedLoop.h"
#include "Models/SimpleLoopState.h"
#include "ViewModels/LoopLibraryViewModel.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QAbstractItemModel>
#include <QObject>
#include <QtQml/qqml.h>

namespace tessivo {

// What QML may see of the layers below, which know nothing of QML themselves.

struct SimpleLoopStateForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SimpleLoopState)
    QML_NAMED_ELEMENT(SimpleLoopState)
};

struct SimpleLooperViewModelForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::SimpleLooperViewModel)
    QML_NAMED_ELEMENT(SimpleLooperViewModel)
};

struct LoopLibraryViewModelForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopLibraryViewModel)
    QML_NAMED_ELEMENT(LoopLibraryViewModel)
};

struct LoopPreviewEngineForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::LoopPreviewEngine)
    QML_NAMED_ELEMENT(LoopPreviewEngine)
    QML_UNCREATABLE("Each library window's model has one")
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

struct MIDIManagerForeign {
    Q_GADGET
    QML_FOREIGN(tessivo::MIDIManager)
    QML_NAMED_ELEMENT(MIDIManager)
    QML_UNCREATABLE("There is one, which SharedMIDI has")
};

namespace enumerations {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tessivo)
QML_NAMED_ELEMENT(Enumerations)
} // namespace enumerations

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
