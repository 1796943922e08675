#pragma once

#include <QObject>

#include <utility>

namespace tessivo {

// An object whose published fields announce every write, also one of an equal value. It is
// used on the main thread only, observers included.
class ObservableObject : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    // Sent before a published field takes its new value.
    void objectWillChange();

protected:
    // Writes one published field: announces, writes, then sends the field's own signals,
    // for observers that read the new value.
    template <class Field, class Value, class... Self>
    void publish(Field& field, Value&& value, void (Self::*... changed)()) {
        emit objectWillChange();
        field = std::forward<Value>(value);
        ((static_cast<Self*>(this)->*changed)(), ...);
    }
};

} // namespace tessivo
