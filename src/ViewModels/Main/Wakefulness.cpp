#include "ViewModels/Main/Wakefulness.h"

#include "ViewModels/SimpleLooperViewModel.h"

namespace tessivo {

using namespace Qt::StringLiterals;

Wakefulness::Wakefulness(SimpleLooperViewModel& looper)
    : QObject(&looper)
    , looper_(looper) {
    connect(looper.loopState(), &SimpleLoopState::transportStateChanged, this,
            &Wakefulness::follow);
    connect(&looper, &SimpleLooperViewModel::takeBecomesLoopChanged, this, &Wakefulness::follow);
}

void Wakefulness::follow() {
    const TransportState state = looper_.loopState()->transportState();
    if (state == TransportState::recording) {
        inhibitor_.setReason(u"Recording a take"_s);
    } else if (state == TransportState::playing || looper_.takeBecomesLoop()) {
        inhibitor_.setReason(u"Playing a loop"_s);
    } else {
        inhibitor_.setReason({});
    }
}

} // namespace tessivo
