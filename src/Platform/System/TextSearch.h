#pragma once

#include <QLocale>
#include <QString>
#include <QStringMatcher>

namespace tessivo {

// Searches for a text in other texts. Case in the user's language and canonically equivalent
// spellings make no difference, accents do. A match begins and ends between characters as a
// reader sees them: "e" is not found in an e with a combining accent.
//
// Texts are folded once and searched often. Any thread.
class TextSearch {
public:
    explicit TextSearch(const QLocale& locale = QLocale::system());

    // The same for all texts between which a search makes no difference.
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
