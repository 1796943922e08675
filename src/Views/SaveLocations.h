#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqml.h>

namespace tessivo {

// Where a file may be saved, and under which name. Main thread only.
class SaveLocations : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // The desktop has a save panel of its own.
    Q_PROPERTY(bool hasNativePanel READ hasNativePanel CONSTANT)
    // Where a panel begins: where the last one ended, and at first the user's documents, or as
    // far on the way there as there are folders. Only a folder of this computer can be set.
    Q_PROPERTY(QUrl folder READ folder WRITE setFolder NOTIFY folderChanged)
    Q_PROPERTY(QUrl home READ home CONSTANT)

public:
    explicit SaveLocations(QObject* parent = nullptr);

    static bool hasNativePanel();
    QUrl folder() const;
    void setFolder(const QUrl& folder);
    static QUrl home();

    // A loop's name as a file name, without an extension: what a file name cannot hold is
    // replaced, and a name that no folder could take is cut.
    Q_INVOKABLE QString proposedName(const QString& loopName) const;
    // Where a file of the chosen name ends up: one without an extension gets ".wav", so that
    // other programs open it.
    Q_INVOKABLE QUrl completed(const QUrl& chosen) const;
    Q_INVOKABLE QUrl inFolder(const QUrl& folder, const QString& name) const;
    // Such a name is one of a file in a folder, and leads nowhere else.
    Q_INVOKABLE bool isFileName(const QString& name) const;
    Q_INVOKABLE bool exists(const QUrl& file) const;

    Q_INVOKABLE QString nameOf(const QUrl& file) const;
    Q_INVOKABLE QString pathOf(const QUrl& folder) const;
    // The folder that a file or folder is in; the root is in itself.
    Q_INVOKABLE QUrl above(const QUrl& folder) const;
    // Makes a folder and tells why that failed; nothing when it is there.
    Q_INVOKABLE QString makeFolder(const QUrl& in, const QString& name) const;

signals:
    void folderChanged();

private:
    QUrl folder_;
};

} // namespace tessivo
