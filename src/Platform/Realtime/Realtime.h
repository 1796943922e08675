#pragma once

// Marks the functions that run on the audio callback: they allocate nothing, lock nothing,
// log nothing, throw nothing and make no system call. Compilers that can check it do.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define TESSIVO_REALTIME noexcept [[clang::nonblocking]]
#endif
#endif
#ifndef TESSIVO_REALTIME
#define TESSIVO_REALTIME noexcept
#endif
