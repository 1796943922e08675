#pragma once

#include <QObject>
#include <QUrl>

namespace tessivo {

// Duration and size of an audio file, measured in the background. Both are zero until then. A
// file that cannot be measured leaves them zero and is reported by a diagnostic line.
class LoopMeasurement : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString duration READ duration NOTIFY measured)
    Q_PROPERTY(QString fileSize READ fileSize NOTIFY measured)

public:
    using QObject::QObject;

    // Formatted for the user.
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
