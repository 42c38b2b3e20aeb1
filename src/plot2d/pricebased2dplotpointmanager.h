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

/// Derives the plot's price interval from the strikes of its base contract and gives the prices at which the
/// client evaluates its curves.
class PLOT2D_EXPORT PriceBased2dPlotPointManager : public QObject
{
    Q_OBJECT

public:
    /// A manager over the strikes of the plot's base code; `byMaxSession` chooses the strike model of the
    /// latest session, which takes a filter.
    PriceBased2dPlotPointManager(bool byMaxSession, PriceBased2dPlot* plot);
    /// The strike model goes with it.
    ~PriceBased2dPlotPointManager() override;

    /// Passes the filter to the max-session strike model; nothing for the other.
    void initCore(const FilterParams& params);
    /// The strike model's filter; the no-filter value when it takes none.
    FilterParams filterParams() const;
    /// The plot's price interval (the manager keeps no copy).
    PriceInterval interval() const;
    /// Moves the manager to another plot and its base code's strikes.
    void setPlot(PriceBased2dPlot* plot);
    /// The plot whose interval the manager writes.
    PriceBased2dPlot* plot() const { return m_plot; }
    /// The strike model; owned by the manager.
    StrikeByBaseCodeModel* model() const { return m_model; }
    /// Whether the strikes come from the latest session's model.
    bool byMaxSession() const { return m_byMaxSession; }

    /// The prices at which the client computes curve values; empty means nothing to compute. With
    /// `ignoreVisibleRange` the strikes need not meet the visible prices.
    QList<double> calcPlotPoints(bool ignoreVisibleRange);
    /// Evenly stepped prices from `from` to `to`.
    static QList<double> minStepPoints(double from, double to, double step);

Q_SIGNALS:
    /// The plot's interval was changed by updatePriceInterval(); the client recomputes its curves.
    void priceIntervalChanged(const PriceInterval& interval);

public Q_SLOTS:
    /// Recomputes the price interval from the strikes and writes it into the plot.
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
