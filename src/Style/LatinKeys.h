#pragma once

#include <QObject>
#include <QVariantMap>
#include <QtQml/qqml.h>

namespace tessivo {

// Lets keys without a Latin letter, as on a Greek or Russian keyboard, count as what is in their
// place on an American one. What a key types stays as it is.
//
// The toolkit looks for a Latin letter in the user's other keyboard layouts; somebody who has none
// would have no shortcuts.
class LatinKeys : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    // What keys have been seen to have in the place of a Latin letter or sign: "Ы" of "S". A key
    // that is pressed is here before the toolkit looks for its shortcut.
    Q_PROPERTY(QVariantMap symbols READ symbols NOTIFY symbolsChanged FINAL)

public:
    explicit LatinKeys(QObject* parent = nullptr);

    const QVariantMap& symbols() const { return symbols_; }

signals:
    void symbolsChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QVariantMap symbols_;
};

} // namespace tessivo
