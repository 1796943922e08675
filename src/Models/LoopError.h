#pragma once

#include <QCoreApplication>
#include <QString>

#include <exception>
#include <string>

namespace tessivo {

// An error of the library, with its message for the user.
class LoopError : public std::exception {
    Q_DECLARE_TR_FUNCTIONS(LoopError)

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

    // The cause is what the system said; it follows the text.
    static LoopError saveFailure(const QString& message, const QString& cause = {}) {
        return {Kind::saveFailure, message, cause};
    }
    static LoopError loadFailure(const QString& message) { return {Kind::loadFailure, message}; }
    // A kind that carries no text.
    explicit LoopError(Kind kind)
        : LoopError(kind, QString()) {}

    Kind kind() const { return kind_; }
    // In the user's language; what() is for the diagnostic lines, and always in English.
    QString errorDescription() const;
    const char* what() const noexcept override { return description_.c_str(); }
    // The same of any error; others than ours say the same in both.
    static QString shown(const std::exception& error);
    // What went wrong without what failed, for where that has been said: the text that the error
    // carries, or else the whole description.
    static std::string reasonOf(const std::exception& error);
    static QString shownReasonOf(const std::exception& error);

    bool operator==(const LoopError& other) const { return description_ == other.description_; }

private:
    LoopError(Kind kind, const QString& message, const QString& cause = {});

    QString shownMessage() const;

    Kind kind_;
    std::string description_; // UTF-8
    QString message_;
    QString cause_;
};

} // namespace tessivo
