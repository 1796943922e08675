#pragma once

#include "Models/SavedLoop.h"

#include <QByteArray>

#include <stdexcept>
#include <vector>

namespace tessivo {

// The bytes are no valid metadata file, or a record cannot be written to one.
class MetadataError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The content of the metadata file: a compact JSON array with one object per record, in the
// order of the list. Any thread.
class LibraryMetadata {
public:
    // Throws MetadataError for a number that JSON cannot hold.
    static QByteArray encode(const std::vector<SavedLoop>& loops);

    // All records or none: throws MetadataError for anything but an array of objects with
    // the six keys of the right types. Further keys are ignored.
    static std::vector<SavedLoop> decode(const QByteArray& bytes);
};

} // namespace tessivo
