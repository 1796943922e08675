#pragma once

#include <QDBusVariant>
#include <QHash>
#include <QObject>
#include <QVariant>

#include <utility>

namespace tessivo {

// How the user wants windows to look, by the settings of the desktop's portal, and whether that
// portal has file dialogs. Without a portal there are no wishes. Main thread only.
class DesktopSettings : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(DesktopSettings)
    // Both false: windows look as the toolkit's palette says.
    Q_PROPERTY(bool prefersDark READ prefersDark NOTIFY changed)
    Q_PROPERTY(bool prefersLight READ prefersLight NOTIFY changed)
    Q_PROPERTY(bool highContrast READ highContrast NOTIFY changed)
    Q_PROPERTY(bool reducedMotion READ reducedMotion NOTIFY changed)

public:
    // The program's one. The first call asks the portal, and waits for it 300 ms at most, so that
    // the first frame has the right colours; what comes later is a change.
    static DesktopSettings& shared();

    bool prefersDark() const;
    bool prefersLight() const;
    bool highContrast() const;
    bool reducedMotion() const;

    // As it answered at the start.
    bool portalHasFileDialogs() const { return portalHasFileDialogs_; }

public slots:
    // By the portal.
    void change(const QString& group, const QString& key, const QDBusVariant& value);

signals:
    void changed();

private:
    DesktopSettings();
    void takeAll(const QVariant& groups);
    QVariant value(const char* group, const char* key) const;

    QHash<std::pair<QString, QString>, QVariant> values_;
    bool portalHasFileDialogs_ = false;
};

} // namespace tessivo
