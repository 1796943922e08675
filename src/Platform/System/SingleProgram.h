#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace tessivo {

// Sees to it that one program at a time works on the user's documents: two would take each other's
// takes and records for their own.
//
// The first one locks a file in the session's runtime folder, for as long as it lives: the kernel
// lets go of the lock of a dead one. In the file it leaves its address on the session bus, where a
// later one calls it: the program's id, or where another user of the bus has that, the connection's
// own. Where nothing can be locked, every program is a first one. Main thread only.
class SingleProgram : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
    Q_DISABLE_COPY(SingleProgram)

public:
    SingleProgram();
    ~SingleProgram() override;

    bool isFirst() const { return isFirst_; }

    // For the first: from now on later ones can call it. Returns at once, however slow the bus is.
    void listen();

    // For a later one: calls the first and hands it the files (absolute paths), and tries for three
    // seconds, as that may be starting, or about to end and leave its place. Returns whether it was
    // called or isFirst() has become true. Needs an application object.
    bool callFirst(const QStringList& files);

public slots:
    // By the bus, as any desktop calls a program.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& urls, const QVariantMap& platformData);

signals:
    // A later one wants the windows to be seen, and these files (absolute paths) to be taken. With
    // the environment's token that allows the windows to come to the front, if it had one.
    void called(const QByteArray& activationToken, const QStringList& files);

private:
    bool lock();

    files::FileDescriptor file_;
    bool isFirst_;
};

} // namespace tessivo
