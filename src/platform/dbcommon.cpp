#include "dbcommon.h"

#include <QtGlobal>

#include <cmath>

double gc_dVolatMinDefault = 0.01;
double gc_dVolatMaxDefault = 3.0;

bool commonFuzzyCompare(double a, double b)
{
    return std::fabs(a - b) * 1000000000000. <= qMin(std::fabs(a), std::fabs(b));
}
