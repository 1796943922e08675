#include "ViewModels/SavePanel/SaveLocations.h"

#include "Platform/System/Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTextBoundaryFinder>

#include <filesystem>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformtheme.h>
#include <system_error>

namespace tessivo {

namespace {

// In bytes. A file name may have 255 of them; the rest is left for an extension and a number.
constexpr qsizetype kLongestProposal = 200;

} // namespace

SaveLocations::SaveLocations(QObject* parent)
    : QObject(parent)
    , folder_(QUrl::fromLocalFile(
          QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))) {}

bool SaveLocations::hasNativePanel() {
    const QPlatformTheme* theme = QGuiApplicationPrivate::platformTheme();
    return theme && theme->usePlatformNativeDialog(QPlatformTheme::FileDialog);
}

QUrl SaveLocations::folder() const {
    QUrl folder = folder_;
    while (!QFileInfo(folder.toLocalFile()).isDir() && folder != parentOf(folder)) {
        folder = parentOf(folder);
    }
    return folder;
}

void SaveLocations::setFolder(const QUrl& folder) {
    if (folder.isLocalFile() && folder != folder_) {
        folder_ = folder;
        emit folderChanged();
    }
}

QUrl SaveLocations::home() {
    return QUrl::fromLocalFile(QDir::homePath());
}

QString SaveLocations::proposedName(const QString& loopName) const {
    static const QRegularExpression unusable(QStringLiteral("[/\\x{0}-\\x{1f}\\x{7f}]"));
    // Cut before anything else: a name may be many megabytes long.
    QString name = loopName.left(kLongestProposal).replace(unusable, QStringLiteral("-"));
    if (name.startsWith(u'.')) {
        name.replace(0, 1, u'-'); // a file whose name begins with a dot is hidden
    }
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, name);
    characters.toEnd();
    while (name.toUtf8().size() > kLongestProposal) {
        name.truncate(characters.toPreviousBoundary());
    }
    return name;
}

QUrl SaveLocations::completed(const QUrl& chosen) const {
    // "Take 2.5" and "Mr. Smith" have no extension.
    static const QRegularExpression extension(
        QStringLiteral("[^.]\\.(?=[0-9]*[A-Za-z])[A-Za-z0-9]{1,5}$"));
    const QString name = chosen.fileName();
    if (extension.match(name).hasMatch()) {
        return chosen;
    }
    QUrl completed = chosen;
    completed.setPath(chosen.path() + QStringLiteral(".wav"), QUrl::DecodedMode);
    return completed;
}

QUrl SaveLocations::inFolder(const QUrl& folder, const QString& name) const {
    return QUrl::fromLocalFile(QDir(folder.toLocalFile()).filePath(name));
}

bool SaveLocations::isFileName(const QString& name) const {
    return !name.trimmed().isEmpty() && !name.contains(u'/') && !name.contains(QChar::Null) &&
           name != QStringLiteral(".") && name != QStringLiteral("..");
}

bool SaveLocations::exists(const QUrl& file) const {
    const QFileInfo info(file.toLocalFile());
    return info.exists() || info.isSymLink();
}

QString SaveLocations::nameOf(const QUrl& file) const {
    return file.fileName();
}

QString SaveLocations::pathOf(const QUrl& folder) const {
    return folder.toLocalFile();
}

QUrl SaveLocations::parentOf(const QUrl& folder) const {
    return folder.isLocalFile() ? QUrl::fromLocalFile(QFileInfo(folder.toLocalFile()).path())
                                : folder;
}

QString SaveLocations::makeFolder(const QUrl& in, const QString& name) const {
    std::error_code error;
    if (std::filesystem::create_directory(tessivo::pathOf(inFolder(in, name)), error)) {
        return {};
    }
    return error ? QString::fromStdString(error.message())
                 : tr("Something of that name is already there");
}

} // namespace tessivo
