#pragma once

#include "Platform/Realtime/Moment.h"

namespace tessivo {

// When the command that is being carried out was given: the moment of the key press, the click
// or the note, which may lie some time back when the main thread was busy. Whoever dispatches
// an input event opens a scope around it; whoever obeys asks for the current moment.
//
// Main thread only. Scopes nest; the innermost one counts.
class CommandMoment {
public:
    explicit CommandMoment(Moment moment);
    ~CommandMoment();
    CommandMoment(const CommandMoment&) = delete;
    CommandMoment& operator=(const CommandMoment&) = delete;

    // Now, when no scope is open: the command came from the program itself.
    static Moment current();

private:
    Moment moment_;
    const CommandMoment* outer_;
};

} // namespace tessivo
