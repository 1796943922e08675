#include "Models/LibraryMetadata.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <cmath>
#include <string>

namespace tessivo {
namespace {

constexpr QLatin1String kId("id");
constexpr QLatin1String kName("name");
constexpr QLatin1String kFilename("filename");
constexpr QLatin1String kCreatedDate("createdDate");
constexpr QLatin1String kDuration("duration");
constexpr QLatin1String kFileSize("fileSize");

// JSON has no other numbers. The framework would write null, and the file would be unreadable.
double finite(double number, const char* what) {
    if (!std::isfinite(number)) {
        throw MetadataError(std::string("The ") + what + " of a loop is not a finite number");
    }
    return number;
}

[[noreturn]] void failAt(qsizetype index, QLatin1String key, const char* expected) {
    throw MetadataError("Record " + std::to_string(index) + ": \"" +
                        std::string(key.data(), static_cast<std::size_t>(key.size())) +
                        "\" is missing or is not " + expected);
}

// Reads the fields of one record; the index is for error messages.
class RecordReader {
public:
    RecordReader(const QJsonObject& object, qsizetype index)
        : object_(object)
        , index_(index) {}

    QString text(QLatin1String key) const {
        const QJsonValue value = object_.value(key);
        if (!value.isString()) {
            failAt(index_, key, "a string");
        }
        return value.toString();
    }

    double number(QLatin1String key) const {
        const QJsonValue value = object_.value(key);
        if (!value.isDouble()) {
            failAt(index_, key, "a number");
        }
        return value.toDouble();
    }

    qint64 integer(QLatin1String key) const {
        const QJsonValue value = object_.value(key);
        // A number that is no 64-bit integer gives the default, whichever it is.
        if (!value.isDouble() || value.toInteger(0) != value.toInteger(1)) {
            failAt(index_, key, "an integer of 64 bits");
        }
        return value.toInteger();
    }

    // The framework's parser accepts more forms than the file may have.
    QUuid uuid(QLatin1String key) const {
        static const QRegularExpression form(QRegularExpression::anchoredPattern(
            QStringLiteral("[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}")));
        const QString value = text(key);
        if (!form.match(value).hasMatch()) {
            failAt(index_, key, "a UUID");
        }
        return QUuid::fromString(value);
    }

private:
    const QJsonObject& object_;
    qsizetype index_;
};

} // namespace

QByteArray LibraryMetadata::encode(const std::vector<SavedLoop>& loops) {
    QJsonArray records;
    for (const SavedLoop& loop : loops) {
        records.append(QJsonObject{
            {kId, loop.id().toString(QUuid::WithoutBraces).toUpper()},
            {kName, loop.name()},
            {kFilename, loop.filename()},
            {kCreatedDate, finite(loop.createdDate().count(), "date")},
            {kDuration, finite(loop.duration(), "duration")},
            {kFileSize, loop.fileSize()},
        });
    }
    // The format escapes slashes, which occur only inside strings.
    return QJsonDocument(records).toJson(QJsonDocument::Compact).replace("/", "\\/");
}

std::vector<SavedLoop> LibraryMetadata::decode(const QByteArray& bytes) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        throw MetadataError("Not JSON: " + error.errorString().toStdString() + " at byte " +
                            std::to_string(error.offset));
    }
    if (!document.isArray()) {
        throw MetadataError("Not an array");
    }
    const QJsonArray records = document.array();
    std::vector<SavedLoop> loops;
    loops.reserve(static_cast<std::size_t>(records.size()));
    for (qsizetype i = 0; i < records.size(); ++i) {
        const QJsonValue record = records.at(i);
        if (!record.isObject()) {
            throw MetadataError("Record " + std::to_string(i) + " is not an object");
        }
        const QJsonObject object = record.toObject();
        const RecordReader reader(object, i);
        SavedLoop loop(reader.text(kName), reader.text(kFilename),
                       SecondsSince2001(reader.number(kCreatedDate)), reader.number(kDuration),
                       reader.integer(kFileSize));
        loop.id_ = reader.uuid(kId);
        loops.push_back(std::move(loop));
    }
    return loops;
}

} // namespace tessivo
