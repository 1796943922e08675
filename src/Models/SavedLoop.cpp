#include "Models/SavedLoop.h"

#include <QHashFunctions>

#include <algorithm>
#include <utility>

namespace tessivo {
namespace {

// The same for all canonically equivalent spellings of a text.
QString canonical(const QString& text) {
    return text.normalized(QString::NormalizationForm_D);
}

bool hasOneSpelling(QChar c) {
    return !c.isSurrogate() && c.combiningClass() == 0 && c.decompositionTag() != QChar::Canonical;
}

} // namespace

SecondsSince2001 secondsSince2001Now() {
    return std::chrono::system_clock::now().time_since_epoch() - kUnixTimeOf2001;
}

bool sameText(const QString& a, const QString& b) {
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (inA == a.end() && inB == b.end()) {
        return true;
    }
    // Nearly all names of a large library differ at a plain letter, and need no normalizing.
    if ((inA == a.end() || hasOneSpelling(*inA)) && (inB == b.end() || hasOneSpelling(*inB))) {
        return false;
    }
    return canonical(a) == canonical(b);
}

SavedLoop::SavedLoop(QString name, QString filename, SecondsSince2001 createdDate, double duration,
                     qint64 fileSize)
    : id_(QUuid::createUuid())
    , name_(std::move(name))
    , filename_(std::move(filename))
    , createdDate_(createdDate)
    , duration_(duration)
    , fileSize_(fileSize) {}

SavedLoop SavedLoop::renamed(const QString& name) const {
    return {name, filename_, createdDate_, duration_, fileSize_};
}

bool operator==(const SavedLoop& a, const SavedLoop& b) {
    return a.id_ == b.id_ && sameText(a.name_, b.name_) && sameText(a.filename_, b.filename_) &&
           a.createdDate_ == b.createdDate_ && a.duration_ == b.duration_ &&
           a.fileSize_ == b.fileSize_;
}

std::size_t qHash(const SavedLoop& loop, std::size_t seed) noexcept {
    // Qt hashes both zeros of a floating-point number alike.
    return qHashMulti(seed, loop.id_, canonical(loop.name_), canonical(loop.filename_),
                      loop.createdDate_.count(), loop.duration_, loop.fileSize_);
}

} // namespace tessivo
