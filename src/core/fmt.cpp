#include "core/fmt.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

#include <array>
#include <cmath>
#include <memory>
#include <mutex>

namespace kelvane::Fmt {
namespace {

namespace nf = icu::number;

struct UnitStep {
    double scale;        // bytes per unit
    int fractionDigits;  // digits after the decimal point at most
};

// Fraction digits grow with the unit, as a file-size column reads best.
constexpr std::array<UnitStep, 5> kSteps{{{1, 0}, {1e3, 0}, {1e6, 1}, {1e9, 2}, {1e12, 2}}};

icu::Locale displayLocale() {
    return icu::Locale(formattingLocale(icu::Locale::getDefault().getName()).c_str());
}

class ByteFormatter {
  public:
    ByteFormatter() {
        const icu::Locale locale = displayLocale();
        const std::array<icu::MeasureUnit, 5> units{
            icu::MeasureUnit::getByte(), icu::MeasureUnit::getKilobyte(),
            icu::MeasureUnit::getMegabyte(), icu::MeasureUnit::getGigabyte(),
            icu::MeasureUnit::getTerabyte()};
        // Plain bytes read best spelled out ("999 バイト", "999 bytes"); ICU's short
        // form is the unnatural "999 byte" in both languages.
        for (std::size_t i = 0; i < units.size(); ++i) {
            formatters_[i] =
                nf::NumberFormatter::withLocale(locale)
                    .unit(units[i])
                    .unitWidth(i == 0 ? UNUM_UNIT_WIDTH_FULL_NAME : UNUM_UNIT_WIDTH_SHORT)
                    .roundingMode(UNUM_ROUND_HALFUP)
                    .precision(nf::Precision::maxFraction(kSteps[i].fractionDigits));
        }
    }

    std::string format(std::int64_t count) const {
        const double magnitude = std::fabs(static_cast<double>(count));
        // The unit is chosen after rounding, so 999,999 B reads "1 MB", not "1,000 KB".
        std::size_t unit = 0;
        for (; unit + 1 < kSteps.size(); ++unit) {
            const double factor = std::pow(10.0, kSteps[unit].fractionDigits);
            const double rounded = std::round(magnitude / kSteps[unit].scale * factor) / factor;
            if (rounded < 1000) break;
        }
        UErrorCode status = U_ZERO_ERROR;
        const double value = static_cast<double>(count) / kSteps[unit].scale;
        const icu::UnicodeString text =
            formatters_[unit].formatDouble(value, status).toString(status);
        if (U_FAILURE(status)) return std::to_string(count) + " B";
        std::string out;
        text.toUTF8String(out);
        return out;
    }

  private:
    std::array<nf::LocalizedNumberFormatter, 5> formatters_;
};

class DateFormatter {
  public:
    DateFormatter()
        : format_(icu::DateFormat::createDateTimeInstance(
              icu::DateFormat::kMedium, icu::DateFormat::kShort, displayLocale())) {}

    std::string format(Date when) const {
        if (!format_) return {};
        icu::UnicodeString text;
        {
            // ICU's date formats are not safe for concurrent use of one instance.
            const std::lock_guard lock(mutex_);
            format_->format(when.seconds * 1000.0, text);
        }
        std::string out;
        text.toUTF8String(out);
        return out;
    }

  private:
    std::unique_ptr<icu::DateFormat> format_;
    mutable std::mutex mutex_;
};

}  // namespace

std::string formattingLocale(std::string_view processLocale) {
    // ICU names the C/POSIX locale "en_US_POSIX", and leaves the root locale
    // nameless.
    if (processLocale == "en_US_POSIX" || processLocale.empty() || processLocale == "root")
        return "ja";
    return std::string(processLocale);
}

std::string bytes(std::int64_t count) {
    static const ByteFormatter formatter;  // thread-safe one-time construction
    return formatter.format(count);
}

std::string date(std::optional<Date> when) {
    if (!when) return {};
    static const DateFormatter formatter;
    return formatter.format(*when);
}

}  // namespace kelvane::Fmt
