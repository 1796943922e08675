#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>

#include <atomic>
#include <functional>
#include <memory>

namespace tessivo {

class LoopLibrary;
class Notices;
class SimpleLoopState;

// Takes audio files into the library, one after another and in the background, whether its window
// is open or not: every store's list shows them. A file that cannot be had does not stop the
// others. Main thread only.
//
// What is not done when the program ends is left out, without a part of a file.
class LoopImport : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(LoopImport)
    Q_PROPERTY(bool isImporting READ isImporting NOTIFY changed)
    // "Importing 2 of 3: Beat.mp3", and the part of all files that is done, from 0 to 1.
    Q_PROPERTY(QString activity READ activity NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY changed)
    // What is to be said of the files of a finished import, a line for each; empty when there is
    // nothing. While the library's window is closed, a notice says it instead.
    Q_PROPERTY(QString report READ report NOTIFY changed)

public:
    // All of them outlive this.
    LoopImport(LoopLibrary& library, SimpleLoopState& state, Notices& notices);
    ~LoopImport() override;

    bool isImporting() const { return !files_.isEmpty(); }
    QString activity() const;
    double progress() const;
    const QString& report() const { return report_; }

    // Asks by a notice whether files are wanted in the library, which then opens if it can. The
    // question waits while a take is recorded. With the library open they are imported at once.
    Q_INVOKABLE void offer(const QStringList& paths);

    // A file of the library itself is left out.
    Q_INVOKABLE void importFiles(const QList<QUrl>& files);
    // Leaves out what is not done yet.
    Q_INVOKABLE void cancel();
    Q_INVOKABLE void clearReport();

signals:
    void changed();

private:
    struct Outcome;
    using Cancelled = std::shared_ptr<std::atomic<bool>>;

    static Outcome importFile(const QUrl& file, const std::function<void(double)>& progress);
    void showOffer();
    void acceptOffer();
    void importNext();
    void setFileProgress(double progress);
    void take(const Outcome& outcome);
    void finish();

    LoopLibrary& library_;
    SimpleLoopState& state_;
    Notices& notices_;
    QTimer offerTime_;
    QList<QUrl> offered_;
    QList<QUrl> files_; // of this import
    qsizetype done_ = 0;
    QStringList imported_; // their names
    double fileProgress_ = 0.0;
    Cancelled cancelled_;
    QStringList problems_;
    QString report_;
};

} // namespace tessivo
