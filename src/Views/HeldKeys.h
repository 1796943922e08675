#pragma once

#include <QObject>

class QKeyEvent;

namespace tessivo {

// Marks the repeats of a held key as such, where the toolkit does not.
//
// An X server repeats a held key by a release and a press of the same instant. The toolkit knows
// them only if both have already arrived when it looks at the first, which is a matter of luck:
// unmarked, a held Space would start and stop the loop twenty times a second. Installed on the
// application, this keeps unmarked repeats from the shortcuts and hands them on marked, so that a
// held key still repeats where text is typed.
class HeldKeys : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isUnmarkedRepeat(const QKeyEvent& press) const;

    quint64 releasedAt_ = 0; // the server's clock
    quint32 releasedKey_ = 0;
};

} // namespace tessivo
