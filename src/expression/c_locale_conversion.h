// Decimal conversion in the "C" locale whatever the C library's global locale
// is (internal). The one place that needs POSIX's per-call locales.
#ifndef EXPRCURVE_EXPRESSION_C_LOCALE_CONVERSION_H
#define EXPRCURVE_EXPRESSION_C_LOCALE_CONVERSION_H

namespace exprcurve::numbers {

// False when the C library cannot make a "C" locale object.
bool cLocaleConversionAvailable();

// strtod of the NUL-terminated `text` under the "C" locale, setting `stop` as
// strtod does. Only called when cLocaleConversionAvailable().
double convertInCLocale(const char* text, char** stop);

}  // namespace exprcurve::numbers

#endif  // EXPRCURVE_EXPRESSION_C_LOCALE_CONVERSION_H
