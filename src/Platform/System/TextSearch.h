#pragma once

#include <QLocale>
#include <QString>
#include <QStringMatcher>

namespace tessivo {

// Finds texts within texts as a reader sees them: whatever their case in the user's
// language and their canonically equivalent spelling, but with the accents they have. What
// is found begins and ends where a character does: "e" is not found in an e with an accent.
//
// Texts are folded once and searched often. Any thread.
class TextSearch {
public:
    explicit TextSearch(const QLocale& locale = QLocale::system());

    // One form for all texts that a search takes for the same.
    QString folded(const QString& text) const;

    // A text to look for.
    class Pattern {
    public:
        explicit Pattern(const QString& folded)
            : matcher_(folded) {}
        bool isIn(const QString& folded) const;

    private:
        QStringMatcher matcher_;
    };

private:
    unsigned int foldingOptions_;
};

} // namespace tessivo
