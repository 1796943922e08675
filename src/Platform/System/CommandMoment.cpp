#include "Platform/System/CommandMoment.h"

namespace tessivo {
namespace {

const CommandMoment* innermost = nullptr;

} // namespace

CommandMoment::CommandMoment(Moment moment)
    : moment_(moment)
    , outer_(innermost) {
    innermost = this;
}

CommandMoment::~CommandMoment() {
    innermost = outer_;
}

Moment CommandMoment::current() {
    return innermost != nullptr ? innermost->moment_ : momentNow();
}

} // namespace tessivo
