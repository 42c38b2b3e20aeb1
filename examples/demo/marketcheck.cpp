#include "marketcheck.h"

#include "priceformat.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplot.h>

#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cmath>

namespace {

// Beyond this many strike ranges away from the strikes the curves say nothing about the quote.
constexpr double FarOutsideRanges = 1.0;

} // namespace

MarketCheck::MarketCheck(const QString& securitiesPath) : m_path(securitiesPath) {}

bool MarketCheck::checkColumns(const Table* securities, QString* error) const
{
    QStringList missing;
    for (int column = 0; column < PriceBased2dPlot::SecColumnCount; ++column) {
        const QString name = QString::fromLatin1(
            PriceBased2dPlot::securitiesColumnName(static_cast<PriceBased2dPlot::SecuritiesColumn>(column)));
        if (!securities || securities->columnIndex(name) < 0)
            missing.append(QLatin1Char('"') + name + QLatin1Char('"'));
    }
    if (missing.isEmpty())
        return true;
    *error = QStringLiteral("%1:1: missing column %2 (the plot needs every one of its %3 bound columns)")
                 .arg(m_path, missing.join(QStringLiteral(", ")))
                 .arg(int(PriceBased2dPlot::SecColumnCount));
    return false;
}

QList<MarketCheck::Finding> MarketCheck::checkFuture(PriceBased2dPlot* plot) const
{
    QList<Finding> findings;
    const Record future = plot->getFuture();
    if (future.isNull())
        return findings;
    checkPriceStep(plot, future, &findings);
    checkVolatility(plot, future, &findings);
    checkQuote(plot, future, &findings);
    return findings;
}

int MarketCheck::lineOf(const Table* securities, const Record& record) const
{
    // The table keeps no file positions: find the row by its key, the first cell of its line.
    const QString key = securities->dataPtr(record, 0).toString() + QLatin1Char(',');
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return 0;
    QTextStream in(&file);
    for (int line = 1; !in.atEnd(); ++line) {
        if (in.readLine().startsWith(key))
            return line;
    }
    return 0;
}

QString MarketCheck::position(const Table* securities, const Record& record, int column) const
{
    return QStringLiteral("%1:%2:%3").arg(m_path).arg(lineOf(securities, record)).arg(column + 1);
}

void MarketCheck::checkPriceStep(PriceBased2dPlot* plot, const Record& future, QList<Finding>* findings) const
{
    const Table* table = plot->securitiesTable();
    const int column = plot->securitiesColumn(PriceBased2dPlot::SecPriceStep);
    const double step = table->dataPtr(future, column).toDouble();
    if (step > 0.0 && std::isfinite(step))
        return;
    findings->append(
        {true, QStringLiteral("%1: price_step must be positive, is %2")
                   .arg(position(table, future, column), table->dataPtr(future, column).toString())});
}

void MarketCheck::checkVolatility(PriceBased2dPlot* plot, const Record& future,
                                  QList<Finding>* findings) const
{
    const Table* table = plot->securitiesTable();
    const int minColumn = plot->securitiesColumn(PriceBased2dPlot::SecVolatMin);
    const int maxColumn = plot->securitiesColumn(PriceBased2dPlot::SecVolatMax);
    bool hasMin = false;
    bool hasMax = false;
    const double low = table->dataPtr(future, minColumn, &hasMin).toDouble();
    const double high = table->dataPtr(future, maxColumn, &hasMax).toDouble();
    if (hasMin && low <= 0.0) {
        findings->append({true, QStringLiteral("%1: volat_min must be positive, is %2")
                                    .arg(position(table, future, minColumn))
                                    .arg(low)});
    } else if (hasMax && high <= 0.0) {
        findings->append({true, QStringLiteral("%1: volat_max must be positive, is %2")
                                    .arg(position(table, future, maxColumn))
                                    .arg(high)});
    } else if (hasMin && hasMax && low > high) {
        findings->append({true, QStringLiteral("%1: volat_min %2 is above volat_max %3")
                                    .arg(position(table, future, minColumn))
                                    .arg(low)
                                    .arg(high)});
    } else if (!hasMin || !hasMax) {
        const std::pair<double, double> used = plot->volatMinMax(future);
        findings->append({false, QStringLiteral("%1: no volatility bounds, priced at the defaults %2 to %3")
                                     .arg(position(table, future, hasMin ? maxColumn : minColumn))
                                     .arg(used.first)
                                     .arg(used.second)});
    }
}

void MarketCheck::checkQuote(PriceBased2dPlot* plot, const Record& future, QList<Finding>* findings) const
{
    const PriceInterval strikes = plot->priceInterval();
    if (!strikes.valid)
        return;
    const Table* table = plot->securitiesTable();
    // The column the plot takes the quote from: the first of these that holds a value.
    int column = -1;
    for (PriceBased2dPlot::SecuritiesColumn candidate :
         {PriceBased2dPlot::SecCurKotirReal, PriceBased2dPlot::SecCurKotir, PriceBased2dPlot::SecOldKotir}) {
        bool hasValue = false;
        table->dataPtr(future, plot->securitiesColumn(candidate), &hasValue);
        if (hasValue) {
            column = plot->securitiesColumn(candidate);
            break;
        }
    }
    if (column < 0)
        return;
    const double quote = plot->getKotirFromFutureRecord(future).toDouble();
    if (quote >= strikes.min && quote <= strikes.max)
        return;
    const PriceFormat format(
        table->dataPtr(future, plot->securitiesColumn(PriceBased2dPlot::SecPriceStep)).toDouble());
    const double margin = FarOutsideRanges * (strikes.max - strikes.min);
    const bool far = quote <= 0.0 || quote < strikes.min - margin || quote > strikes.max + margin;
    findings->append({far, QStringLiteral("%1: quote %2 lies %3 the strikes %4 to %5")
                               .arg(position(table, future, column), format.text(quote),
                                    far ? QStringLiteral("far outside") : QStringLiteral("outside"),
                                    format.text(strikes.min), format.text(strikes.max))});
}
