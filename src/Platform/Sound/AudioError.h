#pragma once

#include <stdexcept>

namespace tessivo::sound {

// What the operations of the sound platform throw when they fail, unless their comments name
// another outcome. what() is a sentence for the user, in UTF-8, that keeps the description given by
// the system underneath.
class AudioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace tessivo::sound
