#pragma once

#include "plot2dglobal.h"
#include "plot2dsampling.h"

#include <qwt_plot_curve.h>

#include <QColor>
#include <QPointF>
#include <QVector>

class PriceBased2dPlot;
class QDataStream;

// One sample offered to the marker curve.
struct PriceBased2dPlotPoint
{
    QPointF point;         // x = price, y = value
    bool isMarker = false; // a symbol marker stands on this point
};

// The curve class of the price plot: a Qwt curve with a data type that tells the plot, picker and
// legend how to treat it. Type 0 is the current-quote line, 9 to 12 value curves, 13 the marker curve.
class PLOT2D_EXPORT PriceBased2dPlotCurve : public QwtPlotCurve
{
public:
    // A curve's persisted display state.
    struct CurveParams
    {
        bool valid = false;
        bool visible = false;
        qint32 dataType = 0;
    };

    enum DataType
    {
        NotSet = -1,
        CurKotirLine = 0,
        MarkerCurve = 13,
    };

    PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QString& title);
    PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QwtText& title);
    ~PriceBased2dPlotCurve() override;

    void setDataType(int type);
    int dataType() const { return m_dataType; }
    PriceBased2dPlot* plot() const { return m_plot; }

    void setVisible(bool on) override;

    void write(QDataStream& out) const;
    static void read(QDataStream& in, CurveParams& params);

    void setMarkerSamples(const QVector<PriceBased2dPlotPoint>& points);
    QColor getColor() const;

    virtual bool isValid() const;
    virtual bool isValidType(int type) const;

    // Y index of the samples for the plot's autoscale, rebuilt after the samples change.
    const Plot2dSampling::YRangeIndex& yRangeIndex() const;

protected:
    void dataChanged() override;
    // Plain line curves touch only their visible samples and stroke far fewer segments; the pixels
    // are those of QwtPlotCurve::drawLines.
    void drawLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                   const QRectF& canvasRect, int from, int to) const override;

private:
    void showCurKotirLine();

    qint32 m_dataType = NotSet;
    PriceBased2dPlot* m_plot = nullptr;
    // Caches for speed only; they never change what the curve reports or paints.
    mutable Plot2dSampling::YRangeIndex m_yIndex;
    mutable bool m_yIndexValid = false;
    mutable Plot2dSampling::GeometryCache m_geometry;
};
