#pragma once

#include "Platform/System/SleepInhibitor.h"

#include <QObject>

namespace tessivo {

class SimpleLooperViewModel;

// Keeps the machine awake while the looper records or loops: a performer touches neither keyboard
// nor pointer for a long time. Belongs to the looper. Main thread only.
class Wakefulness : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(Wakefulness)

public:
    explicit Wakefulness(SimpleLooperViewModel& looper);

private:
    void follow();

    SimpleLooperViewModel& looper_;
    SleepInhibitor inhibitor_;
};

} // namespace tessivo
