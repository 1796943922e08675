#include "Models/LibraryMetadata.h"

#include <cstdint>
#include <cstdlib>

using tessivo::LibraryMetadata;
using tessivo::MetadataError;

// Whatever the bytes are, they are refused with the decoder's own error, or what they say
// can be written and reads back equal.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    std::vector<tessivo::SavedLoop> loops;
    try {
        loops = LibraryMetadata::decode(bytes);
    } catch (const MetadataError&) {
        return 0;
    }
    if (LibraryMetadata::decode(LibraryMetadata::encode(loops)) != loops) {
        std::abort();
    }
    return 0;
}
