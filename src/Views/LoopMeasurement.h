#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqml.h>

namespace tessivo {

// Duration and size of an audio file, measured in the background. Zero until then, and when
// the file cannot be measured; a diagnostic line says why.
class LoopMeasurement : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString duration READ duration NOTIFY measured)
    Q_PROPERTY(QString fileSize READ fileSize NOTIFY measured)

public:
    using QObject::QObject;

    // As the user reads them.
    QString duration() const;
    QString fileSize() const;

    Q_INVOKABLE void measure(const QUrl& file);

signals:
    void measured();

private:
    double duration_ = 0.0; // seconds
    qint64 fileSize_ = 0;   // bytes
};

} // namespace tessivo
