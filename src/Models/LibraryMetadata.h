#pragma once

#include "Models/SavedLoop.h"

#include <QByteArray>

#include <stdexcept>
#include <vector>

namespace tessivo {

// What is wrong with the bytes of a metadata file, or with records that it cannot hold.
class MetadataError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The library's metadata file: a compact JSON array with one object a record, in the order
// given. Any thread.
class LibraryMetadata {
public:
    // Throws MetadataError for a number that JSON cannot hold.
    static QByteArray encode(const std::vector<SavedLoop>& loops);

    // All records or none: throws MetadataError for anything but an array of objects with
    // the six keys of the right types. Further keys are ignored.
    static std::vector<SavedLoop> decode(const QByteArray& bytes);
};

} // namespace tessivo
