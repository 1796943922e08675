#include "Models/LoopError.h"

namespace tessivo {
namespace {

const char* textOf(LoopError::Kind kind) {
    switch (kind) {
    case LoopError::Kind::saveFailure:
        return QT_TRANSLATE_NOOP("LoopError", "Failed to save loop: ");
    case LoopError::Kind::loadFailure:
        return QT_TRANSLATE_NOOP("LoopError", "Failed to load loop: ");
    case LoopError::Kind::noAudioToSave:
        return QT_TRANSLATE_NOOP("LoopError", "No audio recorded to save");
    case LoopError::Kind::fileNotFound:
        return QT_TRANSLATE_NOOP("LoopError", "Loop file not found");
    case LoopError::Kind::duplicateName:
        return QT_TRANSLATE_NOOP("LoopError", "A loop with this name already exists");
    case LoopError::Kind::libraryCorrupted:
        return QT_TRANSLATE_NOOP("LoopError", "Loop library is corrupted and needs to be rebuilt");
    case LoopError::Kind::invalidAudioFile:
        return QT_TRANSLATE_NOOP("LoopError", "Invalid or corrupted audio file");
    case LoopError::Kind::insufficientDiskSpace:
        return QT_TRANSLATE_NOOP("LoopError", "Insufficient disk space to save loop");
    }
    return "";
}

} // namespace

LoopError::LoopError(Kind kind, const QString& message, const QString& cause)
    : kind_(kind)
    , description_(textOf(kind) + (message + cause).toStdString())
    , message_(message)
    , cause_(cause) {}

QString LoopError::errorDescription() const {
    return tr(textOf(kind_)) + shownMessage();
}

// What the system said is in no list of texts, and stays as it is.
QString LoopError::shownMessage() const {
    return message_.isEmpty() ? cause_ : tr(message_.toUtf8()) + cause_;
}

QString LoopError::shown(const std::exception& error) {
    const auto* const ours = dynamic_cast<const LoopError*>(&error);
    return ours != nullptr ? ours->errorDescription() : QString::fromUtf8(error.what());
}

std::string LoopError::reasonOf(const std::exception& error) {
    const auto* const ours = dynamic_cast<const LoopError*>(&error);
    return ours != nullptr && !ours->message_.isEmpty()
               ? (ours->message_ + ours->cause_).toStdString()
               : error.what();
}

QString LoopError::shownReasonOf(const std::exception& error) {
    const auto* const ours = dynamic_cast<const LoopError*>(&error);
    return ours != nullptr && !ours->message_.isEmpty() ? ours->shownMessage() : shown(error);
}

} // namespace tessivo
