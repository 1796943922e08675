#pragma once

#include <functional>
#include <string_view>

namespace tessivo {

// Writes one diagnostic line, UTF-8 and without its end, to standard output at once. Any
// thread but the audio callback. A standard output that is closed or that nobody reads
// costs lines, never the caller: how many is said when it flows again. A normal exit waits
// a moment for lines that are still on their way.
void logLine(std::string_view line);

// Where the lines go. Called on the threads that log, one at a time.
using LogSink = std::function<void(std::string_view)>;

// Sends all further lines to the sink, or to standard output again when it is empty. When
// it returns, the previous sink is no longer in use.
void setLogSink(LogSink sink);

} // namespace tessivo
