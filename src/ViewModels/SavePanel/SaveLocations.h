#pragma once

#include <QObject>
#include <QUrl>

namespace tessivo {

// Folders and file names for the save panels. Main thread only.
class SaveLocations : public QObject {
    Q_OBJECT
    // The desktop has a save panel of its own.
    Q_PROPERTY(bool hasNativePanel READ hasNativePanel CONSTANT)
    // The folder that a panel shows first: the one where something was saved last, at first the
    // user's documents. When it does not exist, its nearest existing parent. Only local folders
    // can be set.
    Q_PROPERTY(QUrl folder READ folder WRITE setFolder NOTIFY folderChanged)
    Q_PROPERTY(QUrl home READ home CONSTANT)

public:
    explicit SaveLocations(QObject* parent = nullptr);

    static bool hasNativePanel();
    QUrl folder() const;
    void setFolder(const QUrl& folder);
    static QUrl home();

    // A file name for a loop of that name, without an extension: characters that a file name
    // cannot have are replaced, and a name that is too long for any folder is cut.
    Q_INVOKABLE QString proposedName(const QString& loopName) const;
    // The chosen file with ".wav" appended if it has no extension, so that other programs open it.
    Q_INVOKABLE QUrl completed(const QUrl& chosen) const;
    Q_INVOKABLE QUrl inFolder(const QUrl& folder, const QString& name) const;
    // False for what is not a plain file name, such as "..", "a/b" and white space alone.
    Q_INVOKABLE bool isFileName(const QString& name) const;
    Q_INVOKABLE bool exists(const QUrl& file) const;

    Q_INVOKABLE QString nameOf(const QUrl& file) const;
    Q_INVOKABLE QString pathOf(const QUrl& folder) const;
    // The folder that contains a file or folder; for the root, the root.
    Q_INVOKABLE QUrl parentOf(const QUrl& folder) const;
    // Returns why the folder could not be made; empty when it was made.
    Q_INVOKABLE QString makeFolder(const QUrl& in, const QString& name) const;

signals:
    void folderChanged();

private:
    QUrl folder_;
};

} // namespace tessivo
