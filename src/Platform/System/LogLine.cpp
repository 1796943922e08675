#include "Platform/System/LogLine.h"

#include "Platform/System/LineWriter.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>
#include <utility>

namespace tessivo {
namespace {

constexpr std::chrono::milliseconds kExitLimit{500};

// If the process is started without a standard output, the next file or socket that is opened
// would get its number, and our lines. So the number is taken before main() runs.
bool claimStandardOutput() {
    while (::fcntl(STDOUT_FILENO, F_GETFD) == -1 && errno == EBADF) {
        if (::open("/dev/null", O_RDWR) == -1) {
            return false;
        }
    }
    return true;
}
const bool standardOutputClaimed = claimStandardOutput();

// Never destroyed: threads may log until the process ends, and a write() that does not return
// must not keep the process from ending.
LineWriter& standardOutputWriter() {
    static LineWriter& writer = []() -> LineWriter& {
        auto* created = new LineWriter(STDOUT_FILENO);
        std::atexit([] { standardOutputWriter().flush(kExitLimit); });
        return *created;
    }();
    return writer;
}

struct SinkSlot {
    std::mutex mutex;
    LogSink sink;
};

SinkSlot& sinkSlot() {
    static auto& slot = *new SinkSlot;
    return slot;
}

} // namespace

void logLine(std::string_view line) {
    SinkSlot& slot = sinkSlot();
    const std::scoped_lock lock(slot.mutex);
    if (slot.sink) {
        slot.sink(line);
    } else if (standardOutputClaimed) {
        standardOutputWriter().add(line);
    }
}

void setLogSink(LogSink sink) {
    SinkSlot& slot = sinkSlot();
    const std::scoped_lock lock(slot.mutex);
    slot.sink = std::move(sink);
}

} // namespace tessivo
