#include "Platform/System/TextSearch.h"

#include "Platform/System/IcuText.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include <stdexcept>
#include <string>

namespace tessivo {
namespace {

const icu::Normalizer2& composition() {
    UErrorCode status = U_ZERO_ERROR;
    const auto* normalizer = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("No text composition: ") + u_errorName(status));
    }
    return *normalizer;
}

// Whether a character as a reader sees it may continue at this position.
bool isWithinCharacter(const QString& text, qsizetype at) {
    constexpr char16_t kFirstThatMayContinue = 0x300;
    if (at <= 0 || at >= text.size() || text[at].unicode() < kFirstThatMayContinue) {
        return false;
    }
    const QChar unit = text[at];
    if (unit.isLowSurrogate() && text[at - 1].isHighSurrogate()) {
        return true;
    }
    const bool isPair =
        unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    const char32_t code =
        isPair ? QChar::surrogateToUcs4(unit, text[at + 1]) : static_cast<char32_t>(unit.unicode());
    switch (u_getIntPropertyValue(static_cast<UChar32>(code), UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_EXTEND:
    case U_GCB_SPACING_MARK:
    case U_GCB_ZWJ:
    case U_GCB_V:
    case U_GCB_T:
        return true;
    default:
        return false;
    }
}

} // namespace

TextSearch::TextSearch(const QLocale& locale)
    // Turkish and Azerbaijani have a dotted and a dotless i, each in both cases.
    : foldingOptions_(locale.language() == QLocale::Turkish ||
                              locale.language() == QLocale::Azerbaijani
                          ? U_FOLD_CASE_EXCLUDE_SPECIAL_I
                          : U_FOLD_CASE_DEFAULT) {}

QString TextSearch::folded(const QString& text) const {
    UErrorCode status = U_ZERO_ERROR;
    // Composed before folding, because a dotted letter may fold to another one than its base,
    // and again after it, because folding may decompose.
    icu::UnicodeString result = composition().normalize(asUnicodeString(text), status);
    result.foldCase(foldingOptions_);
    result = composition().normalize(result, status);
    return U_SUCCESS(status) ? toQString(result) : text;
}

bool TextSearch::Pattern::isIn(const QString& folded) const {
    const qsizetype size = matcher_.pattern().size();
    for (qsizetype at = matcher_.indexIn(folded); at >= 0; at = matcher_.indexIn(folded, at + 1)) {
        if (!isWithinCharacter(folded, at) && !isWithinCharacter(folded, at + size)) {
            return true;
        }
    }
    return false;
}

} // namespace tessivo
