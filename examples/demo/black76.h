#pragma once

// Black-76: European options on futures. Time in years, volatility and rate as fractions.
namespace Black76 {

enum class OptionType
{
    Call,
    Put
};

struct Inputs
{
    OptionType type = OptionType::Call;
    double futures = 0.0;
    double strike = 0.0;
    double years = 0.0;      // time to expiry; <= 0 gives the intrinsic value
    double volatility = 0.0; // annualised
    double rate = 0.0;       // continuously compounded discount rate
};

double price(const Inputs& in);
double delta(const Inputs& in);
double gamma(const Inputs& in);
double vega(const Inputs& in);  // per 1.00 of volatility
double theta(const Inputs& in); // per year of calendar time, the value's change as time passes

double normalCdf(double x);
double normalPdf(double x);

} // namespace Black76
