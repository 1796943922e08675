#pragma once

#include <QByteArray>
#include <QLocale>
#include <QString>

#include <memory>

namespace tessivo {

// The order in which the user's language puts texts: letters before their case and accents,
// canonically equivalent spellings alike. Without a language ("C") it is the order that most
// languages share, not that of code points. Any thread.
class Collation {
public:
    explicit Collation(const QLocale& locale = QLocale::system().collation());
    ~Collation();
    Collation(const Collation&) = delete;
    Collation& operator=(const Collation&) = delete;

    // Keys compare byte by byte as their texts do in this order. Making one is slow,
    // comparing two is not.
    QByteArray sortKey(const QString& text) const;

private:
    struct Collator;
    std::unique_ptr<const Collator> collator_;
};

} // namespace tessivo
