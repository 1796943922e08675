#pragma once

// Marks the functions that run on the audio callback: they allocate nothing, lock nothing, log
// nothing, throw nothing, and make no system call but two writes that never wait: the capture
// stream wakes the playback stream (PipeWireCycles), and MIDI packets wake their thread.
//
// g++ takes the mark as noexcept alone. clang 19 warns, with -Wfunction-effects, where
// declarations of a marked function differ. clang 22 checks, with the same warning, also every
// call in its body, and -fsanitize=realtime stops the program at a forbidden one. With every
// compiler realtime_test watches the rendering of a graph.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define TESSIVO_REALTIME noexcept [[clang::nonblocking]]
#endif
#endif
#ifndef TESSIVO_REALTIME
#define TESSIVO_REALTIME noexcept
#endif
