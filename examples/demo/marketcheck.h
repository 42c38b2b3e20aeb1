#pragma once

#include <QList>
#include <QString>

class PriceBased2dPlot;
class Record;
class Table;

// Checks the market data before and after the desk's plots bind it, so that bad data ends in a
// message naming the file, line and column instead of a blank chart or an abort.
class MarketCheck
{
public:
    struct Finding
    {
        bool fatal = false; // fatal: the chart would be wrong; otherwise a warning to show
        QString message;    // "FILE:LINE:COLUMN: reason"
    };

    explicit MarketCheck(const QString& securitiesPath);

    // Every column the plot binds must exist; otherwise the plot's constructor would abort.
    bool checkColumns(const Table* securities, QString* error) const;
    // The plot's futures contract: its price step, volatility bounds and quote.
    QList<Finding> checkFuture(PriceBased2dPlot* plot) const;

private:
    int lineOf(const Table* securities, const Record& record) const;
    QString position(const Table* securities, const Record& record, int column) const;
    void checkPriceStep(PriceBased2dPlot* plot, const Record& future, QList<Finding>* findings) const;
    void checkVolatility(PriceBased2dPlot* plot, const Record& future, QList<Finding>* findings) const;
    void checkQuote(PriceBased2dPlot* plot, const Record& future, QList<Finding>* findings) const;

    QString m_path;
};
