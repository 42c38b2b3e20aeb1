#include "black76.h"

#include <algorithm>
#include <cmath>

namespace Black76 {

namespace {

constexpr double Pi = 3.14159265358979323846;

bool isCall(const Inputs& in)
{
    return in.type == OptionType::Call;
}

double intrinsic(const Inputs& in)
{
    return isCall(in) ? std::max(in.futures - in.strike, 0.0) : std::max(in.strike - in.futures, 0.0);
}

// No time value left: expired, no volatility, or a degenerate price.
bool degenerate(const Inputs& in)
{
    return in.years <= 0.0 || in.volatility <= 0.0 || in.futures <= 0.0 || in.strike <= 0.0;
}

struct D
{
    double d1;
    double d2;
};

D terms(const Inputs& in)
{
    const double sigmaRootT = in.volatility * std::sqrt(in.years);
    const double d1 =
        (std::log(in.futures / in.strike) + 0.5 * in.volatility * in.volatility * in.years) / sigmaRootT;
    return {d1, d1 - sigmaRootT};
}

double discount(const Inputs& in)
{
    return std::exp(-in.rate * std::max(in.years, 0.0));
}

} // namespace

double normalCdf(double x)
{
    return 0.5 * std::erfc(-x / std::sqrt(2.0));
}

double normalPdf(double x)
{
    return std::exp(-0.5 * x * x) / std::sqrt(2.0 * Pi);
}

double price(const Inputs& in)
{
    if (degenerate(in))
        return discount(in) * intrinsic(in);
    const D d = terms(in);
    if (isCall(in))
        return discount(in) * (in.futures * normalCdf(d.d1) - in.strike * normalCdf(d.d2));
    return discount(in) * (in.strike * normalCdf(-d.d2) - in.futures * normalCdf(-d.d1));
}

double delta(const Inputs& in)
{
    if (degenerate(in)) {
        const bool inTheMoney = isCall(in) ? in.futures > in.strike : in.futures < in.strike;
        return inTheMoney ? (isCall(in) ? 1.0 : -1.0) * discount(in) : 0.0;
    }
    const D d = terms(in);
    return isCall(in) ? discount(in) * normalCdf(d.d1) : -discount(in) * normalCdf(-d.d1);
}

double gamma(const Inputs& in)
{
    if (degenerate(in))
        return 0.0;
    const D d = terms(in);
    return discount(in) * normalPdf(d.d1) / (in.futures * in.volatility * std::sqrt(in.years));
}

double vega(const Inputs& in)
{
    if (degenerate(in))
        return 0.0;
    const D d = terms(in);
    return discount(in) * in.futures * normalPdf(d.d1) * std::sqrt(in.years);
}

double theta(const Inputs& in)
{
    if (degenerate(in))
        return 0.0;
    const D d = terms(in);
    const double decay =
        -discount(in) * in.futures * normalPdf(d.d1) * in.volatility / (2.0 * std::sqrt(in.years));
    return decay + in.rate * price(in);
}

} // namespace Black76
