// A MIDI sequencer in which nothing ever happens. Loaded before a program that insists on the
// kernel's sequencer, it lets that program start on a machine that has none; whatever the
// program would hear over it or say to it is lost.

#include <poll.h>

#include <cerrno>

extern "C" {

int snd_seq_open(void** sequencer, const char* /*name*/, int /*streams*/, int /*mode*/) {
    static int handle = 0;
    *sequencer = &handle;
    return 0;
}

int snd_seq_close(void* /*sequencer*/) {
    return 0;
}

int snd_seq_set_client_name(void* /*sequencer*/, const char* /*name*/) {
    return 0;
}

int snd_seq_create_simple_port(void* /*sequencer*/, const char* /*name*/, unsigned /*capabilities*/,
                               unsigned /*type*/) {
    return 0;
}

// Descriptors that poll() passes over, so that who waits for events waits for ever.
int snd_seq_poll_descriptors(void* /*sequencer*/, pollfd* descriptors, unsigned count,
                             short /*events*/) {
    for (unsigned i = 0; i < count; ++i) {
        descriptors[i] = {-1, 0, 0};
    }
    return static_cast<int>(count);
}

int snd_seq_event_input(void* /*sequencer*/, void** event) {
    *event = nullptr;
    return -EAGAIN;
}

int snd_seq_event_output(void* /*sequencer*/, void* /*event*/) {
    return 0;
}

int snd_seq_drain_output(void* /*sequencer*/) {
    return 0;
}
}
