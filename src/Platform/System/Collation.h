#pragma once

#include <QByteArray>
#include <QLocale>
#include <QString>

#include <memory>

namespace tessivo {

// The order of texts in the user's language: letters are compared first, then accents and case;
// canonically equivalent spellings are equal. Without a language ("C") it is the order that most
// languages share, not that of code points. Any thread.
class Collation {
public:
    explicit Collation(const QLocale& locale = QLocale::system().collation());
    ~Collation();
    Collation(const Collation&) = delete;
    Collation& operator=(const Collation&) = delete;

    // Keys are compared byte by byte, and have the order of their texts. Making a key is slow,
    // comparing two is fast.
    QByteArray sortKey(const QString& text) const;

private:
    struct Collator;
    std::unique_ptr<const Collator> collator_;
};

} // namespace tessivo
