#pragma once

#include <QObject>
#include <QString>
#include <QUuid>

#include <chrono>
#include <cstddef>

namespace tessivo {

// A point in time as seconds, with fraction, since 2001-01-01 00:00:00 UTC.
using SecondsSince2001 = std::chrono::duration<double>;

// That instant in Unix time, seconds.
inline constexpr std::chrono::seconds kUnixTimeOf2001{978'307'200};

// Now, to the precision of the system's clock.
SecondsSince2001 secondsSince2001Now();

// Whether the texts are canonically equivalent and so read the same.
bool sameText(const QString& a, const QString& b);

// One loop of the library. An immutable value; the constructor gives it a new id.
class SavedLoop {
    Q_GADGET
    Q_PROPERTY(QString name READ name CONSTANT)
    Q_PROPERTY(double duration READ duration CONSTANT)
    Q_PROPERTY(qint64 fileSize READ fileSize CONSTANT)

public:
    // No loop, with a null id: a view's initial value.
    SavedLoop() = default;
    // The file name is that of the audio file inside the saved-loops folder, without a
    // directory part; duration is in seconds, fileSize in bytes.
    SavedLoop(QString name, QString filename, SecondsSince2001 createdDate, double duration,
              qint64 fileSize);

    // The same audio under another name, with a new id.
    SavedLoop renamed(const QString& name) const;

    const QUuid& id() const { return id_; }
    const QString& name() const { return name_; }
    const QString& filename() const { return filename_; }
    SecondsSince2001 createdDate() const { return createdDate_; }
    double duration() const { return duration_; }
    qint64 fileSize() const { return fileSize_; }

    // Compares all six fields, texts by sameText().
    friend bool operator==(const SavedLoop& a, const SavedLoop& b);
    friend std::size_t qHash(const SavedLoop& loop, std::size_t seed) noexcept;

private:
    friend class LibraryMetadata; // reads entries with their ids

    QUuid id_;
    QString name_;
    QString filename_;
    SecondsSince2001 createdDate_{0.0};
    double duration_ = 0.0;
    qint64 fileSize_ = 0;
};

std::size_t qHash(const SavedLoop& loop, std::size_t seed = 0) noexcept;

} // namespace tessivo
