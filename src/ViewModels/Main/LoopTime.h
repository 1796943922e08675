#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

namespace tessivo {

class SimpleAudioEngine;
class SimpleLoopState;

// How long the take is by now, or where in the loop what is heard is, by the clock of the sound.
// While there is something to tell it looks at that clock once a second, and for the progress of a
// short loop up to four times; otherwise never. Main thread only.
class LoopTime : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(LoopTime)
    // "00:07" of a take, "00:03 / 00:12" of a loop; empty otherwise.
    Q_PROPERTY(QString text READ text NOTIFY textChanged)
    Q_PROPERTY(bool hasProgress READ hasProgress NOTIFY hasProgressChanged)
    // How much of the loop has been heard, from 0 to 1.
    Q_PROPERTY(qreal progress READ progress NOTIFY progressChanged)

public:
    // Both outlive this.
    LoopTime(SimpleAudioEngine& engine, const SimpleLoopState& state);

    const QString& text() const { return text_; }
    bool hasProgress() const { return hasProgress_; }
    qreal progress() const { return progress_; }

signals:
    void textChanged();
    void hasProgressChanged();
    void progressChanged();

private:
    void look();
    void show(const QString& text, bool hasProgress, double progress);
    void lookAgain(double seconds);

    SimpleAudioEngine& engine_;
    const SimpleLoopState& state_;
    QTimer timer_;
    QString text_;
    bool hasProgress_ = false;
    qreal progress_ = 0.0;
};

} // namespace tessivo
