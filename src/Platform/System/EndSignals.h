#pragma once

#include <QObject>

namespace tessivo {

// The orders to end that come from outside: SIGTERM, SIGINT and SIGHUP, each unless the program was
// started such that it is ignored. There is one such object, on the main thread; before and after
// it these signals end the program at once.
class EndSignals : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(EndSignals)

public:
    // Needs the application object.
    EndSignals();
    ~EndSignals() override;

signals:
    // From the main thread's event loop.
    void received();
};

} // namespace tessivo
