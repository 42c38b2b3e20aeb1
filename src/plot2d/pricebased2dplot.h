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

/// A Qwt plot whose bottom axis is the price of a futures contract and whose curves are values computed over
/// that price. Abstract: an application plot supplies updateCurves().
class PLOT2D_EXPORT PriceBased2dPlot : public QwtPlot
{
    Q_OBJECT

public:
    /// Columns of the "securities" table bound at construction, in the order of the positions that the schema
    /// check reports.
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
    /// The column's name in the "securities" table.
    static const char* securitiesColumnName(SecuritiesColumn column);

    /// A plot bound to the "securities" table (a missing column is fatal) with a title; `setUp` also installs
    /// the scale engine, scale draws, panner and grid.
    PriceBased2dPlot(bool setUp, const QwtText& title, QWidget* parent = nullptr);
    /// A plot bound to the "securities" table (a missing column is fatal); `setUp` also installs the scale
    /// engine, scale draws, panner and grid.
    explicit PriceBased2dPlot(bool setUp, QWidget* parent = nullptr);
    /// Qwt deletes the installed engine, draws and attached items.
    ~PriceBased2dPlot() override;

    // --- construction and wiring ---
    /// Computes the price labels when the price axis is first painted after they were invalidated.
    bool eventFilter(QObject* watched, QEvent* event) override;
    /// 20 x 20 pixels, so that layouts may shrink the plot freely.
    QSize minimumSizeHint() const override;

    /// Configures the stored picker and the panner's cursor; call it after setPicker().
    void setCanvasObservers();
    /// Recomputes the price labels and fully redraws the price axis, as after a new current quote.
    void updateAxisWidgets();

    /// The tracker the client stored; null when there is none.
    PriceBased2dPlotPicker* picker() const { return m_picker; }
    /// Stores the client's tracker on the canvas; not owned (the canvas is its parent).
    void setPicker(PriceBased2dPlotPicker* picker) { m_picker = picker; }
    /// The canvas panner, which also holds the autoscale flag; null before set-up.
    PriceBased2dPlotPanner* panner() const { return m_panner; }
    /// The price axis' scale engine; null before set-up.
    PriceBased2dPlotScaleEngine* scaleEngine() const { return m_scaleEngine; }
    /// The price axis' scale draw; null before set-up.
    PriceBased2dPlotScaleDraw* xScaleDraw() const { return m_xScaleDraw; }
    /// The value axis' scale draw; null before set-up.
    PriceBased2dPlotScaleDraw* yScaleDraw() const { return m_yScaleDraw; }
    /// The application's "securities" table the plot reads its context from.
    Table* securitiesTable() const { return m_securitiesTable; }
    /// Index of a bound column in the securities table (-1 before binding).
    int securitiesColumn(SecuritiesColumn column) const { return m_secColumns[column]; }
    /// The selected instrument id; -1 when none.
    int isinId() const { return m_isinId; }
    /// The selected board id; -1 when none.
    int boardId() const { return m_boardId; }
    /// The selected base code (the underlying's code); empty when none.
    QString baseCode() const { return m_baseCode; }
    /// Whether wheel and scale-drag zoom are on.
    bool zoomEnabled() const { return m_zoomEnabled; }

    // --- security context ---
    /// Selects the instrument the plot is drawn for; ignored unless positive.
    void setIsinId(int isinId);
    /// Selects the board of the instrument; ignored unless positive.
    void setBoardId(int boardId);
    /// Selects the underlying by its base code; ignored when empty.
    void setBaseCode(const QString& baseCode);
    /// The futures record the plot is drawn for, or a null record.
    Record getFuture() const;
    /// The record of an instrument on a board, or a null record.
    Record getVirtualFuture(int isinId, int boardId) const;
    /// The futures contract of the base code that expires first, or a null record.
    Record getMinimumDateExerciseFuture() const;
    /// The current quote (kotir) of a futures record; zero when it has none.
    decimal getKotirFromFutureRecord(const Record& record) const;
    /// Volatility bounds (minimum, maximum) of a futures record; the default bounds when it has none.
    std::pair<double, double> volatMinMax(const Record& record);
    /// Stores the plotted price interval (the point manager writes it from the strikes).
    void setPriceInterval(const PriceInterval& interval);
    /// The plotted price interval; empty until the point manager sets it.
    PriceInterval priceInterval() const;
    /// The picker's price step; -1 when unknown. Requires a picker.
    double priceStep() const;
    /// The price the price axis aligns its ticks on; no refresh.
    void setRescaleFactor(decimal factor);
    /// Whether the axis' value converter is switched on.
    bool conversionEnabled(int axisId) const;
    /// The price axis converter's label text for a price.
    QString xAxisConvertedValue(double value) const;
    /// The price axis converter's unit text.
    QString xAxisMetricUnit() const;

    // --- curves, markers and the current-quote line ---
    /// The attached curves in attach order: all of them for -1, else the valid ones of that data type.
    QList<PriceBased2dPlotCurve*> attachedCurves(int dataType) const;
    /// The attached point markers (the strikes' symbols) in attach order.
    QList<QwtPlotMarker*> attachedMarkers() const;
    /// Union of the bounding rectangles of the visible data curves (not the quote line): the area panning
    /// keeps in view.
    QRectF curvesRectangle() const;
    /// `count` new markers styled after `curve`, attached to the plot.
    QList<QwtPlotMarker*> createMarkers(int count, PriceBased2dPlotCurve* curve);
    /// Shows or hides the current quote's red label on the price axis.
    void setCurKotirEnabled(bool enabled);
    /// The current quote's price for the price axis label; no refresh.
    void setCurKotirValue(double value);
    /// Chooses the grid's detailed (minor lines too) or plain look.
    void setGridEnabled(bool enabled);
    /// Shows or hides the grid.
    void setGridVisible(bool visible);
    /// Colour of the picker's tracker text and rubber band.
    void setTrackerColor(const QColor& color);
    /// Colour of the picker's tracker pen.
    QColor getTrackerColor() const;

    // --- Y autoscale and axis ranges ---
    /// Switches wheel and scale-drag zoom on or off.
    void setZoomEnabled(bool enabled);
    /// Whether the Y axis follows the visible curves (the panner's flag).
    bool autoScaleEnabled() const;
    /// Asks listeners to turn autoscale off (emits autoScaleEnabled(false)) when it is on.
    void resetAutoScale();
    /// Applies autoscale: the Y range of the valid, visible curves inside the visible prices; redraws.
    void updateYAxisScale();
    /// The single gate for axis ranges: yLeft and xBottom only; degenerate requests are refused and the range
    /// kept.
    void setAxisScale(int axisId, double min, double max, double step = 0.0);
    /// x rounded to the nearest multiple of the price step.
    double roundedXValue(double x) const;

    // --- wheel zoom and mouse ---
    /// Turns the picker's tracker on.
    void setTrackerMode();
    /// Turns the picker's tracker off.
    void resetTrackerMode();
    /// Whether a widget point lies on the price axis.
    bool mousePositionOnXScale(const QPointF& pos) const;
    /// Whether a widget point lies on the value axis.
    bool mousePositionOnYScale(const QPointF& pos) const;
    /// Whether a widget point lies on either axis.
    bool mousePositionOnScale(const QPointF& pos) const;

Q_SIGNALS:
    /// The axis labels must be recomputed (after every pan).
    void updateAxisLabels();
    /// Autoscale should be on or off; emitted with false when the user changes the Y range by hand. The
    /// application's toggle calls setAutoScaleEnabled().
    void autoScaleEnabled(bool enable);

public Q_SLOTS:
    /// Shows or hides the valid curves titled `curveTitle` and rescales; only the legend's signal is
    /// obeyed.
    void setCurveVisible(const QString& curveTitle, bool visible);
    /// Sets the autoscale flag; no rescale, no signal.
    void setAutoScaleEnabled(bool enable);
    /// Recomputes the labels of both axes and replots.
    void updateScaleLabels();

protected:
    /// Starts a scale drag.
    void mousePressEvent(QMouseEvent* event) override;
    /// One step of scale-drag zoom.
    void mouseMoveEvent(QMouseEvent* event) override;
    /// Wheel zoom about the cursor: Shift zooms Y only, Ctrl X only, over a scale that axis.
    void wheelEvent(QWheelEvent* event) override;

public:
    /// Y extent (minimum, maximum) of the counted curves inside the visible X range; minimum > maximum means
    /// no usable range.
    virtual std::pair<double, double> minMaxYAtXRange();
    /// The same extent by a plain scan of every sample: the reference minMaxYAtXRange() answers exactly, in
    /// logarithmic time per curve.
    std::pair<double, double> minMaxYAtXRangeLinear() const;
    /// Places the current-quote line from yLow to yHigh at kotir; a negative kotir keeps its price and only
    /// stretches it.
    virtual void updateCurKotirPoints(double yLow, double yHigh, double kotir);
    /// The client recomputes its curves here.
    virtual void updateCurves() = 0;

protected:
    /// Binds the "securities" columns; a missing one stops the process with the schema message.
    void initSecColumns();
    /// Installs the scale engine, scale draws, panner, grid and canvas look.
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
