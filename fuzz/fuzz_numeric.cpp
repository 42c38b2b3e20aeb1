// The numeric helpers behind every label and range, fed arbitrary doubles (NaN, infinities,
// denormals, magnitudes of 1e16 and beyond, negative zero) and arbitrary decimals.
#include "fuzzsupport.h"

#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotconverter.h>

#include <QtGlobal>

namespace {

using FuzzSupport::require;

// Trailing zeros and a bare point are trimmed whenever a point is present.
bool trimmed(const QString& text)
{
    if (!text.contains(QLatin1Char('.')))
        return true;
    return !text.endsWith(QLatin1Char('0')) && !text.endsWith(QLatin1Char('.'));
}

void checkFormatting(double value, int decimals)
{
    const QString shortText = Plot2dCommon::fromDoubleToSystemStringShort(value, decimals);
    require(!shortText.isEmpty(), "locale text is never empty");
    if (std::isfinite(value))
        require(trimmed(shortText), "locale text is trimmed");

    const QString text = Plot2dCommon::formattedValue(value, decimals);
    if (decimals < 0) {
        require(text.isEmpty(), "negative decimals give no text");
        return;
    }
    require(!text.isEmpty(), "text for non-negative decimals");
    if (!std::isfinite(value))
        return;
    require(trimmed(text), "formatted text is trimmed");
    bool ok = false;
    const double back = text.toDouble(&ok);
    require(ok, "formatted text reads back");
    if (std::fabs(value) < 1e15) {
        const double places = std::pow(10.0, -qMin(decimals, 10));
        require(std::fabs(back - value) <= 0.5 * places + std::fabs(value) * 1e-15 + 1e-300,
                "formatted text is the value to its places");
    }
}

void checkRounding(double value, int decimals)
{
    const double rounded = Plot2dCommon::roundValue(value, decimals);
    if (std::isnan(value))
        require(std::isnan(rounded), "NaN stays NaN");
    else if (std::isfinite(value))
        require(std::isfinite(rounded), "a finite value rounds to a finite value");
    if (std::isfinite(value) && std::fabs(value) < 1e15 && decimals >= 0 && decimals <= 8) {
        const double places = std::pow(10.0, -decimals);
        require(std::fabs(rounded - value) <= 0.5 * places * (1 + 1e-9) + std::fabs(value) * 1e-15,
                "rounding moves by at most half a place");
    }

    const qint64 whole = Plot2dCommon::roundHalfUp64(value);
    if (std::isnan(value))
        require(whole == 0, "NaN rounds to 0");
    else if (std::fabs(value) < 4e18)
        require(whole == qRound64(value), "the qRound64 rule");
    else
        require((value > 0) == (whole > 0), "out-of-range values saturate towards their sign");

    if (std::isfinite(value))
        require(Plot2dCommon::integerLength(value) >= 1 && Plot2dCommon::integerLength(value) <= 309,
                "integer length of a finite value");
}

void checkComparisons(double a, double b)
{
    require(Plot2dCommon::fuzzyEqual(a, b) == Plot2dCommon::fuzzyEqual(b, a), "fuzzyEqual is symmetric");
    require(Plot2dCommon::scaleDrawFuzzyCompare(a, b) == Plot2dCommon::scaleDrawFuzzyCompare(b, a),
            "scaleDrawFuzzyCompare is symmetric");
    if (std::isnan(a) || std::isnan(b)) {
        require(!Plot2dCommon::fuzzyEqual(a, b), "NaN equals nothing");
        require(!Plot2dCommon::scaleDrawFuzzyCompare(a, b), "NaN compares equal to nothing");
    }
    require(Plot2dCommon::isNearZero(a) == (std::fabs(a) <= 1e-12), "near zero is |x| <= 1e-12");
    (void)commonFuzzyCompare(a, b);
}

void checkDecimal(double value, int decimals)
{
    const decimal d = decimal::fromDouble(value, short(decimals));
    if (!std::isfinite(value))
        require(d.isZero(), "non-finite doubles give the zero decimal");
    require(std::isfinite(d.toDouble()), "a decimal is finite");
    decimal parsed;
    if (decimal::fromString(d.toString(), d.decimals(), &parsed))
        require(parsed == d, "a decimal's text reads back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    static PriceBased2dPlotConverter converter;
    while (!input.atEnd()) {
        const double a = input.real();
        const double b = input.real();
        const int decimals = input.bounded(41) - 20;
        checkFormatting(a, decimals);
        checkRounding(a, decimals);
        checkComparisons(a, b);
        checkDecimal(a, input.bounded(11));
        converter.setShowPositiveSign(input.byte() & 1);
        converter.setPrecision(decimals);
        (void)converter.convertedValue(a);
    }
    return 0;
}
