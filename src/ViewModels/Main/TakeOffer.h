#pragma once

#include <QObject>
#include <QTimer>
#include <QUrl>

#include <chrono>

namespace tessivo {

class Notices;
class SimpleLoopState;

// Offers an earlier take by a notice with a button, until another take begins, there is another
// loop, or it has been read for a while. Main thread only.
class TakeOffer : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY(TakeOffer)

public:
    // Both outlive this. The time begins when the notice shows.
    TakeOffer(const SimpleLoopState& state, Notices& notices,
              std::chrono::milliseconds time = std::chrono::minutes(2));

    // A take that was found marked, or none. It is forgotten when its notice shows; what comes too
    // late to be offered is found again.
    void make(const QUrl& take);
    // Ends the offer and returns its take.
    QUrl end();

private:
    void forgetWhatShows();

    const SimpleLoopState& state_;
    Notices& notices_;
    QTimer time_;
    QUrl take_; // empty: none is offered
};

} // namespace tessivo
