#pragma once

#include "plot2dglobal.h"

#include <qwt_plot_curve.h>

#include <QColor>
#include <QPointF>
#include <QVector>

#include <memory>

class PriceBased2dPlot;
class QDataStream;

namespace Plot2dSampling {
class CurveCache;
}

//! One sample offered to the marker curve.
struct PriceBased2dPlotPoint
{
    QPointF point;         //!< x = price, y = value
    bool isMarker = false; //!< a symbol marker stands on this point
};

//! The curve class of the price plot: a Qwt curve with a data type that tells the plot, picker and
//! legend how to treat it. Type 0 is the current-quote line, 9 to 12 value curves, 13 the marker curve.
class PLOT2D_EXPORT PriceBased2dPlotCurve : public QwtPlotCurve
{
public:
    //! A curve's persisted display state, as write() and read() exchange it.
    struct CurveParams
    {
        bool valid = false;   //!< isValid() when written
        bool visible = false; //!< isVisible() when written
        qint32 dataType = 0;  //!< dataType() when written
    };

    //! The data types the library itself treats specially; 9 to 12 are the client's value curves.
    enum DataType
    {
        NotSet = -1,      //!< never set; such a curve is never valid
        CurKotirLine = 0, //!< the red vertical current-quote line, two samples drawn as sticks
        MarkerCurve = 13, //!< samples with symbol markers kept in step by setMarkerSamples()
    };

    //! A curve titled `title` for `plot` (not attached; the client attaches it), data type not set.
    PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QString& title);
    //! The same with a rich-text title.
    PriceBased2dPlotCurve(PriceBased2dPlot* plot, const QwtText& title);
    //! Releases the curve's speed-only state; the toolkit curve does the rest.
    ~PriceBased2dPlotCurve() override;

    //! Sets the data type if it is NotSet or valid (isValidType()); any other value is ignored.
    void setDataType(int type);
    //! The data type that tells the plot, picker and legend how to treat the curve.
    int dataType() const { return m_dataType; }
    //! The plot given at construction (not owned; may be null).
    PriceBased2dPlot* plot() const { return m_plot; }

    //! Shows or hides the curve; the quote line and the marker curve also switch what they stand for
    //! on the plot (the quote display, the markers).
    void setVisible(bool on) override;

    //! Writes the curve's persisted display state (valid, visible, data type) in the stream's encoding.
    void write(QDataStream& out) const;
    //! Reads one record written by write(); a damaged stream leaves `params` cleared.
    static void read(QDataStream& in, CurveParams& params);

    //! Sets the samples of a marker curve and keeps the plot's markers on the flagged points.
    void setMarkerSamples(const QVector<PriceBased2dPlotPoint>& points);
    //! The colour other widgets show for the curve: the pen for lines, the symbol pen for dots.
    QColor getColor() const;

    //! Whether the curve is fit to be shown and counted (data, title, style, pen, type).
    virtual bool isValid() const;
    //! Whether `type` is one of the data types the plot knows (0 and 9 to 13).
    virtual bool isValidType(int type) const;

protected:
    //! Plain line curves touch only their visible samples and stroke far fewer segments where that
    //! provably paints the pixels of QwtPlotCurve::drawLines; everything else is drawn by Qwt.
    void drawLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                   const QRectF& canvasRect, int from, int to) const override;

private:
    void showCurKotirLine();

    qint32 m_dataType = NotSet;
    PriceBased2dPlot* m_plot = nullptr;
    // State for speed only (the sample index, the last painted geometry); it follows the samples as
    // they are at every use and never changes what the curve reports or paints.
    friend class Plot2dSampling::CurveCache;
    const std::unique_ptr<Plot2dSampling::CurveCache> m_cache;
};
