#include "c_locale_conversion.h"

#include <locale.h>
#include <stdlib.h>

namespace exprcurve::numbers {

namespace {

// Made once: a locale object costs an allocation, and the "C" locale never
// changes.
locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return locale;
}

}  // namespace

bool cLocaleConversionAvailable() { return cLocale() != static_cast<locale_t>(nullptr); }

double convertInCLocale(const char* text, char** stop) { return strtod_l(text, stop, cLocale()); }

}  // namespace exprcurve::numbers
