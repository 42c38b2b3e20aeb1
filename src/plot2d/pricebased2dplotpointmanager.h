#pragma once

#include "filterparams.h"
#include "plot2dglobal.h"
#include "priceinterval.h"

#include <QList>
#include <QObject>

class PriceBased2dPlot;
class StrikeByBaseCodeModel;
class StrikeByMaxSessionModel;
class decimal;

// Derives the plot's price interval from the strikes of its base contract and gives the prices at
// which the client evaluates its curves.
class PLOT2D_EXPORT PriceBased2dPlotPointManager : public QObject
{
    Q_OBJECT

public:
    PriceBased2dPlotPointManager(bool byMaxSession, PriceBased2dPlot* plot);
    ~PriceBased2dPlotPointManager() override;

    void initCore(const FilterParams& params);
    FilterParams filterParams() const;
    PriceInterval interval() const;
    void setPlot(PriceBased2dPlot* plot);
    PriceBased2dPlot* plot() const { return m_plot; }
    StrikeByBaseCodeModel* model() const { return m_model; }
    bool byMaxSession() const { return m_byMaxSession; }

    QList<double> calcPlotPoints(bool ignoreVisibleRange);
    static QList<double> minStepPoints(double from, double to, double step);

Q_SIGNALS:
    void priceIntervalChanged(const PriceInterval& interval);

public Q_SLOTS:
    void updatePriceInterval();

private:
    PriceInterval computedInterval() const;
    // Decimals of the strikes' security; negative when unknown.
    int strikeDecimals() const;
    // The last strike left of [lo, hi] and the first one right of it (the strike range's ends
    // when none); false for unsorted strikes or an empty frame.
    bool framingStrikes(double lo, double hi, decimal* first, decimal* last) const;
    static QList<double> refinedPoints(const QList<double>& strikePoints, double first, double last,
                                       double step);
    // The model as the max-session model when this manager was made for one.
    StrikeByMaxSessionModel* maxSessionModel() const;

    StrikeByBaseCodeModel* m_model = nullptr;
    PriceBased2dPlot* m_plot = nullptr;
    bool m_byMaxSession = false;
};
