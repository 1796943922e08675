#pragma once

#include <QObject>

class QKeyEvent;

namespace tessivo {

// An event filter for the application that marks the repeats of a held key as auto-repeats, where
// the toolkit fails to.
//
// An X server repeats a held key by a release and a press with the same timestamp. The toolkit
// recognizes the pair only when both have already arrived, which is a matter of timing. An unmarked
// repeat would trigger shortcuts: a held Space would start and stop the loop twenty times a second.
// This filter keeps unmarked repeats from the shortcuts and sends them on marked, so that a held
// key still repeats in a text field.
class HeldKeys : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isUnmarkedRepeat(const QKeyEvent& press) const;

    quint64 releasedAt_ = 0; // ms, the X server's clock
    quint32 releasedKey_ = 0;
};

} // namespace tessivo
