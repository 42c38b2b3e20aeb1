#pragma once

#include "plot2dglobal.h"
#include "priceinterval.h"

#include "decimal.h"
#include "field.h"
#include "record.h"

#include <qwt_plot.h>

#include <QColor>
#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <utility>

class PriceBased2dPlotCurve;
class PriceBased2dPlotPanner;
class PriceBased2dPlotPicker;
class PriceBased2dPlotScaleDraw;
class PriceBased2dPlotScaleEngine;
class QwtPlotGrid;
class QwtPlotMarker;
class SecurityDirectory;
class Table;

// A Qwt plot whose bottom axis is the price of a futures contract and whose curves are values
// computed over that price. Abstract: an application plot supplies updateCurves().
class PLOT2D_EXPORT PriceBased2dPlot : public QwtPlot
{
    Q_OBJECT

public:
    // Columns of the "securities" table bound at construction, in the order of the positions that
    // the schema check reports.
    enum SecuritiesColumn
    {
        SecStockId = 0,
        SecBoardId,
        SecSecId,
        SecExpdate,
        SecBaseCode,
        SecPriceStep,
        SecSectype,
        SecOptionType,
        SecStrike,
        SecSessId,
        SecIsinId,
        SecFutIsinId,
        SecBaseIsinId,
        SecBid,
        SecAsk,
        SecCurKotirReal,
        SecCurKotir,
        SecOldKotir,
        SecVolatMin,
        SecVolatMax,
        SecLasttime,
        SecColumnCount
    };
    static const char* securitiesColumnName(SecuritiesColumn column);

    PriceBased2dPlot(bool setUp, const QwtText& title, QWidget* parent = nullptr);
    explicit PriceBased2dPlot(bool setUp, QWidget* parent = nullptr);
    ~PriceBased2dPlot() override;

    // --- construction and wiring ---
    bool eventFilter(QObject* watched, QEvent* event) override;
    QSize minimumSizeHint() const override;

    void setCanvasObservers();
    void updateAxisWidgets();

    PriceBased2dPlotPicker* picker() const { return m_picker; }
    void setPicker(PriceBased2dPlotPicker* picker) { m_picker = picker; }
    PriceBased2dPlotPanner* panner() const { return m_panner; }
    PriceBased2dPlotScaleEngine* scaleEngine() const { return m_scaleEngine; }
    PriceBased2dPlotScaleDraw* xScaleDraw() const { return m_xScaleDraw; }
    PriceBased2dPlotScaleDraw* yScaleDraw() const { return m_yScaleDraw; }
    Table* securitiesTable() const { return m_securitiesTable; }
    // Index of a bound column in the securities table (-1 before binding).
    int securitiesColumn(SecuritiesColumn column) const { return m_secColumns[column]; }
    int isinId() const { return m_isinId; }
    int boardId() const { return m_boardId; }
    QString baseCode() const { return m_baseCode; }
    bool zoomEnabled() const { return m_zoomEnabled; }

    // --- security context ---
    void setIsinId(int isinId);
    void setBoardId(int boardId);
    void setBaseCode(const QString& baseCode);
    Record getFuture() const;
    Record getVirtualFuture(int isinId, int boardId) const;
    Record getMinimumDateExerciseFuture() const;
    decimal getKotirFromFutureRecord(const Record& record) const;
    std::pair<double, double> volatMinMax(const Record& record);
    void setPriceInterval(const PriceInterval& interval);
    PriceInterval priceInterval() const;
    double priceStep() const;
    void setRescaleFactor(decimal factor);
    bool conversionEnabled(int axisId) const;
    QString xAxisConvertedValue(double value) const;
    QString xAxisMetricUnit() const;

    // --- curves, markers and the current-quote line ---
    QList<PriceBased2dPlotCurve*> attachedCurves(int dataType) const;
    QList<QwtPlotMarker*> attachedMarkers() const;
    QRectF curvesRectangle() const;
    QList<QwtPlotMarker*> createMarkers(int count, PriceBased2dPlotCurve* curve);
    void setCurKotirEnabled(bool enabled);
    void setCurKotirValue(double value);
    void setGridEnabled(bool enabled);
    void setGridVisible(bool visible);
    void setTrackerColor(const QColor& color);
    QColor getTrackerColor() const;

    // --- Y autoscale and axis ranges ---
    void setZoomEnabled(bool enabled);
    bool autoScaleEnabled() const;
    void resetAutoScale();
    void updateYAxisScale();
    // The single gate for axis ranges: yLeft and xBottom only; degenerate requests are refused.
    void setAxisScale(int axisId, double min, double max, double step = 0.0);
    double roundedXValue(double x) const;

    // --- wheel zoom and mouse ---
    void setTrackerMode();
    void resetTrackerMode();
    bool mousePositionOnXScale(const QPointF& pos) const;
    bool mousePositionOnYScale(const QPointF& pos) const;
    bool mousePositionOnScale(const QPointF& pos) const;

Q_SIGNALS:
    void updateAxisLabels();
    void autoScaleEnabled(bool enable);

public Q_SLOTS:
    void setCurveVisible(const QString& curveTitle, bool visible);
    void setAutoScaleEnabled(bool enable);
    void updateScaleLabels();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

public:
    // Y extent (minimum, maximum) of the counted curves inside the visible X range; minimum >
    // maximum means no usable range.
    virtual std::pair<double, double> minMaxYAtXRange();
    // The same extent by a plain scan of every sample: the reference minMaxYAtXRange() answers
    // exactly, in logarithmic time per curve.
    std::pair<double, double> minMaxYAtXRangeLinear() const;
    // Places the current-quote line; a negative kotir keeps its price and only stretches it.
    virtual void updateCurKotirPoints(double yLow, double yHigh, double kotir);
    // The client recomputes its curves here.
    virtual void updateCurves() = 0;

protected:
    void initSecColumns();
    void initPlot();

private:
    // One wheel event on its way through the zoom steps.
    struct WheelZoom
    {
        QPointF pos; // cursor in plot widget coordinates
        bool onX = false;
        bool onY = false;
        double xLower = 0.0;
        double xUpper = 0.0;
        double yLower = 0.0;
        double yUpper = 0.0;
        QPointF anchor;
        double factor = 0.0;
        QRectF curves;
        double newXSpan = 0.0;
        double newYSpan = 0.0;
        double newXLower = 0.0;
        double newYUpper = 0.0;
        bool zoomOut() const { return factor > 1.0; }
    };

    enum ExtentScan
    {
        IndexedScan,
        LinearScan
    };
    std::pair<double, double> yExtentOfCurves(ExtentScan scan) const;
    bool visibleRoundedXRange(double* left, double* right) const;

    Field securitiesField(const Record& record, SecuritiesColumn column, bool* hasValue = nullptr) const;
    bool isExerciseCandidate(const Record& record) const;
    PriceBased2dPlotCurve* firstCurKotirLine() const;
    static bool currentCurKotirX(const PriceBased2dPlotCurve* line, double* x);
    QwtPlotGrid* grid() const;
    void rescaleYToNewX();

    static double wheelFactor(int delta);
    static double anchoredRatio(double anchor, double lower, double upper);
    QPointF wheelAnchor(const WheelZoom& zoom) const;
    void wheelNewSpans(WheelZoom& zoom) const;
    bool wheelWithinLimits(const WheelZoom& zoom) const;
    bool wheelNewXLower(WheelZoom& zoom) const;
    bool wheelNewYUpper(WheelZoom& zoom) const;
    void applyWheelZoom(const WheelZoom& zoom, Qt::KeyboardModifiers modifiers);
    void applyXZoom(const WheelZoom& zoom);
    void applyYZoom(const WheelZoom& zoom, double ySpan);

    bool scaleDragStep(const QPointF& pos);
    static bool dragRange(bool zoomIn, double lower, double upper, double cLo, double cHi, double* newLower,
                          double* newUpper);
    void refreshAfterDrag(const QPointF& pos);

    int m_secColumns[SecColumnCount];
    Table* m_securitiesTable = nullptr;
    PriceBased2dPlotPicker* m_picker = nullptr;
    PriceBased2dPlotPanner* m_panner = nullptr;
    PriceBased2dPlotScaleDraw* m_xScaleDraw = nullptr;
    PriceBased2dPlotScaleDraw* m_yScaleDraw = nullptr;
    PriceBased2dPlotScaleEngine* m_scaleEngine = nullptr;
    void* m_spare = nullptr;
    bool m_zoomEnabled = true;
    QPointF m_pressPoint;
    QPointF m_lastDragPoint;
    PriceInterval m_priceInterval;
    SecurityDirectory* m_securityDirectory = nullptr;
    int m_isinId = -1;
    int m_boardId = -1;
    QString m_baseCode;
};
