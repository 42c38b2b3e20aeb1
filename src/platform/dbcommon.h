#pragma once

#include "platformglobal.h"

// Relative fuzzy equality with a factor of 1e12: |a - b| * 1e12 <= min(|a|, |b|).
// Like every relative test, zero equals only an exact zero; NaN equals nothing.
PLATFORM_EXPORT bool commonFuzzyCompare(double a, double b);

// Default volatility bounds used when a security carries none. Configurable by the host.
extern PLATFORM_EXPORT double gc_dVolatMinDefault;
extern PLATFORM_EXPORT double gc_dVolatMaxDefault;
