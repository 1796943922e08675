#pragma once

#include <QString>

#include <exception>
#include <string>

namespace tessivo {

// An error of the library, with its message for the user.
class LoopError : public std::exception {
public:
    enum class Kind {
        saveFailure, // carries a text
        loadFailure, // carries a text
        noAudioToSave,
        fileNotFound,
        duplicateName,
        libraryCorrupted,
        invalidAudioFile,
        insufficientDiskSpace
    };

    static LoopError saveFailure(const QString& message) { return {Kind::saveFailure, message}; }
    static LoopError loadFailure(const QString& message) { return {Kind::loadFailure, message}; }
    // A kind that carries no text.
    explicit LoopError(Kind kind)
        : LoopError(kind, QString()) {}

    Kind kind() const { return kind_; }
    QString errorDescription() const { return QString::fromStdString(description_); }
    // What went wrong without what failed, for where that has been said: the text that the error
    // carries, or else the whole description.
    static QString reasonOf(const std::exception& error);
    const char* what() const noexcept override { return description_.c_str(); }

    bool operator==(const LoopError& other) const { return description_ == other.description_; }

private:
    LoopError(Kind kind, const QString& message);

    Kind kind_;
    std::string description_; // UTF-8
    QString message_;
};

} // namespace tessivo
