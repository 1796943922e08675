#include "Platform/System/Collation.h"

#include "Platform/System/IcuText.h"

#include <unicode/coll.h>

#include <stdexcept>

namespace tessivo {

struct Collation::Collator {
    std::unique_ptr<icu::Collator> icu;
};

Collation::Collation(const QLocale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icuLocale(locale), status));
    if (U_SUCCESS(status)) {
        // Without it, equivalent texts would differ when their marks are in an unusual order.
        collator->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
    }
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("No collation: ") + u_errorName(status));
    }
    collator_ = std::make_unique<const Collator>(Collator{std::move(collator)});
}

Collation::~Collation() = default;

QByteArray Collation::sortKey(const QString& text) const {
    const icu::UnicodeString unicode = asUnicodeString(text);
    // Enough for most keys; getSortKey() returns the size that it needs.
    QByteArray key(4 * text.size() + 16, Qt::Uninitialized);
    const auto fill = [&] {
        return collator_->icu->getSortKey(unicode, reinterpret_cast<uint8_t*>(key.data()),
                                          static_cast<int32_t>(key.size()));
    };
    int32_t size = fill();
    if (size > key.size()) {
        key.resize(size);
        size = fill();
    }
    key.resize(size);
    key.squeeze();
    return key;
}

} // namespace tessivo
