#include "Style/LatinKeys.h"

#include <QCoreApplication>
#include <QKeyEvent>

#include <array>
#include <string_view>

namespace tessivo {

namespace {

struct Row {
    quint32 first; // the code of its leftmost key
    std::string_view keys;
};

// By the codes of an X server, which the toolkit has on Wayland too.
constexpr std::array kRows{Row{24, "QWERTYUIOP[]"}, Row{38, "ASDFGHJKL;'"}, Row{52, "ZXCVBNM,./"}};

// 0 where there is none.
char keyInPlace(quint32 code) {
    for (const auto& [first, keys] : kRows) {
        if (code >= first && code - first < keys.size()) {
            return keys[code - first];
        }
    }
    return 0;
}

// Of a script that is not Latin; digits and signs belong to all scripts.
bool isForeign(int key) {
    return key > 0 && key < Qt::Key_Escape &&
           QChar::script(static_cast<char32_t>(key)) > QChar::Script_Latin;
}

// The windows of the toolkit hand on the very event that they got.
struct Writable : QKeyEvent {
    static void setKey(QKeyEvent& event, int key) { event.*(&Writable::m_key) = key; }
};

} // namespace

LatinKeys::LatinKeys(QObject* parent)
    : QObject(parent) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool LatinKeys::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if ((type != QEvent::ShortcutOverride && type != QEvent::KeyPress) ||
        !watched->isWindowType()) {
        return false;
    }
    auto& key = static_cast<QKeyEvent&>(*event);
    const char latin = keyInPlace(key.nativeScanCode());
    if (latin == 0 || !isForeign(key.key())) {
        return false;
    }
    const QString symbol =
        QString::fromUcs4(std::array{static_cast<char32_t>(key.key())}.data(), 1);
    if (QVariant& known = symbols_[QString(QLatin1Char(latin))]; known != symbol) {
        known = symbol;
        emit symbolsChanged();
    }
    // For the items: text fields copy and paste by the key.
    Writable::setKey(key, latin);
    return false;
}

} // namespace tessivo
