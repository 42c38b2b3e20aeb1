#pragma once

#include "plot2dglobal.h"

#include <QString>

class QwtScaleDiv;
class QwtInterval;

/// Numeric helpers shared by every label, range and rounding of the library, so that all of them
/// format, round and compare alike.
namespace Plot2dCommon {

/// value in the system locale, at most `decimals` (clamped to 0..10) places, trailing zeros and a
/// bare decimal point removed: the text a user reads on an axis.
PLOT2D_EXPORT QString fromDoubleToSystemStringShort(double value, int decimals);
/// Digits of the integer part of a finite value (at least 1; the sign takes none), for label widths
/// and digit trimming.
PLOT2D_EXPORT int integerLength(double value);
/// value rounded to `decimals` (clamped to -10..10) places, halves towards plus infinity; negative
/// decimals round to tens, hundreds ...
PLOT2D_EXPORT double roundValue(double value, int decimals);
/// value with '.' as decimal point, at most `decimals` (up to 10) places, trailing zeros and a bare
/// point removed; empty for negative decimals. The locale-independent counterpart for clients.
PLOT2D_EXPORT QString formattedValue(double value, int decimals);
/// Relative fuzzy equality with a tolerance of 1e-8: whether two tick values count as the same label.
PLOT2D_EXPORT bool scaleDrawFuzzyCompare(double a, double b);

/// qRound64's rule: halves go towards plus infinity (2.5 -> 3, -2.5 -> -2). Deliberately
/// asymmetric for negative halves; every rounding of this kind in the library goes through here.
/// Out-of-range values saturate; NaN gives 0.
PLOT2D_EXPORT qint64 roundHalfUp64(double value);
/// roundHalfUp64() narrowed to int, for pixel positions.
PLOT2D_EXPORT int roundHalfUp(double value);
/// Relative fuzzy equality with a factor of 1e12: the data layer's commonFuzzyCompare(), under the
/// name the plot's own code uses.
PLOT2D_EXPORT bool fuzzyEqual(double a, double b);
/// Whether |value| <= 1e-12, the zero of the relative tests (which never call anything equal to 0).
PLOT2D_EXPORT bool isNearZero(double value);
/// An interval with lower <= upper (lower < upper when a border is excluded): a range an axis may take.
PLOT2D_EXPORT bool isValidInterval(const QwtInterval& interval);
/// A scale division that is not empty and whose interval is valid: one that labels can be made for.
PLOT2D_EXPORT bool isUsableScaleDiv(const QwtScaleDiv& div);

} // namespace Plot2dCommon
