#pragma once

#include <functional>
#include <string_view>

namespace tessivo {

// Writes one diagnostic line, in UTF-8 and without its line break, to standard output. Any
// thread but the audio callback. Never blocks: when standard output is closed or nobody reads
// it, lines are dropped, and a later line says how many. A normal exit waits a moment for
// lines that are not written yet.
void logLine(std::string_view line);

// Receives the lines, on the thread that logs. Calls do not overlap.
using LogSink = std::function<void(std::string_view)>;

// Sends all further lines to the sink, or to standard output if it is empty. The previous sink
// is not called after this returns.
void setLogSink(LogSink sink);

} // namespace tessivo
