#pragma once

#include <QObject>

#include <utility>

namespace tessivo {

// An object with published fields, which signal every write, also one of an equal value. The
// object and its observers are used on the main thread only.
class ObservableObject : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    // Sent before a published field takes its new value.
    void objectWillChange();

protected:
    // Emits objectWillChange(), writes the field, then emits the field's own signals.
    template <class Field, class Value, class... Self>
    void publish(Field& field, Value&& value, void (Self::*... changed)()) {
        emit objectWillChange();
        field = std::forward<Value>(value);
        ((static_cast<Self*>(this)->*changed)(), ...);
    }
};

} // namespace tessivo
