#include "Models/LoopError.h"

namespace tessivo {
namespace {

QString describe(LoopError::Kind kind, const QString& message) {
    switch (kind) {
    case LoopError::Kind::saveFailure:
        return QStringLiteral("Failed to save loop: ") + message;
    case LoopError::Kind::loadFailure:
        return QStringLiteral("Failed to load loop: ") + message;
    case LoopError::Kind::noAudioToSave:
        return QStringLiteral("No audio recorded to save");
    case LoopError::Kind::fileNotFound:
        return QStringLiteral("Loop file not found");
    case LoopError::Kind::duplicateName:
        return QStringLiteral("A loop with this name already exists");
    case LoopError::Kind::libraryCorrupted:
        return QStringLiteral("Loop library is corrupted and needs to be rebuilt");
    case LoopError::Kind::invalidAudioFile:
        return QStringLiteral("Invalid or corrupted audio file");
    case LoopError::Kind::insufficientDiskSpace:
        return QStringLiteral("Insufficient disk space to save loop");
    }
    return {};
}

} // namespace

LoopError::LoopError(Kind kind, const QString& message)
    : kind_(kind)
    , description_(describe(kind, message).toStdString())
    , message_(message) {}

QString LoopError::reasonOf(const std::exception& error) {
    const auto* const ours = dynamic_cast<const LoopError*>(&error);
    return ours != nullptr && !ours->message_.isEmpty() ? ours->message_
                                                        : QString::fromUtf8(error.what());
}

} // namespace tessivo
