#pragma once

#include "plot2dglobal.h"
#include "pricebased2dplotconverter.h"

#include <qwt_scale_draw.h>

#include <QFont>
#include <QHash>
#include <QList>
#include <QRect>

#include <utility>

/// Scale draw of the plot's axes: chooses which ticks get labels, trims the digits that
/// neighbouring labels share, thins labels until none overlap and draws the current quote's
/// label last, in the quote colour.
class PLOT2D_EXPORT PriceBased2dPlotScaleDraw : public QwtScaleDraw, public virtual PriceBased2dPlotConverter
{
public:
    /// A draw for `axis` (QwtPlot::xBottom or QwtPlot::yLeft) with no labels yet.
    explicit PriceBased2dPlotScaleDraw(int axis);
    /// Deleted by the axis it is installed on.
    ~PriceBased2dPlotScaleDraw() override;

    /// Draws the scale with the thinned labels, the current quote's label last, in red.
    void draw(QPainter* painter, const QPalette& palette) const override;
    /// The converter's text for a tick; empty while the division is unusable.
    QwtText label(double value) const override;
    /// Space the axis needs across its line, measured on the widest label.
    double extent(const QFont& font) const override;

    /// Rebuilds labels, curKotirIndex and equalDigitsNum from the current scale division.
    virtual void updateLabels();

    // --- label candidates, quote position, digit trimming ---
    /// The label candidates of a division: its major and medium ticks, ascending.
    QList<double> getTicks(const QwtScaleDiv& div) const;
    /// Whether the current quote lies strictly inside the visible prices, so that its label is drawn.
    void updateCurKotirStatus();
    /// Position of the current quote among ascending label values.
    void updateCurKotirIndex(const QList<double>& values);
    /// Shows or hides the current quote's label.
    void setCurKotirEnabled(bool enabled);
    /// Counts the leading digits that neighbouring labels share, so that labels can drop them.
    void setEqualDigitsNum();
    /// Leading digits that two non-negative integers of `length` digits share; -1 outside that.
    int findEqualDigitsInIntegerPart(long long a, long long b, int length);
    /// Leading fractional digits that two values share (at most 10); -1 when not computable.
    int findEqualDigitsInFractionPart(double a, double b);
    /// How many fractional digits the current labels need to tell neighbours apart.
    int maxFractionLength() const;

    // --- geometry, overlap removal, drawing ---
    /// The label rectangle of each value, in order.
    QList<QRect> getBoundingRects(const QList<double>& values) const;
    /// The label rectangle of one value, grown by the label gap.
    QRect tickLabelBoundingRect(double value) const;
    /// (a, b) when both rectangles are valid and intersect, else (1.0, -1.0).
    std::pair<double, double> getIntersectedPair(const QRect& r1, const QRect& r2, double a, double b) const;
    /// The neighbouring label pairs whose rectangles overlap.
    QList<std::pair<double, double>> overlappedLabels(const QList<double>& values) const;
    /// Resolves the last overlapping pair when the quote is in it: the quote's neighbour is removed.
    bool removeOneTick(const std::pair<double, double>& pair, QList<double>& values) const;
    /// Whether a division's ticks are too dense to label distinctly.
    bool ticksShrinked(const QwtScaleDiv& div) const;
    /// Width of the widest label candidate in `font`.
    int maxLabelWidth(const QFont& font) const;
    /// Draws one label; the current quote's in red.
    void drawTickLabel(QPainter* painter, const QPalette& palette, double value) const;

    // --- plain accessors ---
    /// The axis the draw is installed on.
    int axis() const { return m_axis; }
    /// The values that carry a label after thinning.
    QList<double> labels() const { return m_labels; }
    /// Least room between two labels, in pixels.
    int labelGap() const { return m_labelGap; }
    /// Whether the axis was painted since the labels were last invalidated.
    bool axisPainted() const { return m_axisPainted; }
    /// Marks the axis painted (or due for new labels).
    void setAxisPainted(bool painted) { m_axisPainted = painted; }
    /// The current quote's price; negative for none.
    double curKotir() const { return m_curKotir; }
    /// Sets the current quote's price; no refresh.
    void setCurKotirValue(double value) { m_curKotir = value; }
    /// The CurKotirFlag bits.
    unsigned int curKotirFlags() const { return m_curKotirFlags; }
    /// Position of the current quote among the labels; -1 for none.
    int curKotirIndex() const { return m_curKotirIndex; }
    /// Leading digits the labels share; -1 when not counted.
    int equalDigitsNum() const { return m_equalDigitsNum; }
    /// The labels' font.
    QFont font() const { return m_font; }
    /// Sets the labels' font.
    void setFont(const QFont& font) { m_font = font; }

    /// How the current quote's label stands.
    enum CurKotirFlag : unsigned int
    {
        CurKotirShown = 0x1,  ///< The quote is to be shown.
        CurKotirInside = 0x2, ///< The quote lies strictly inside the visible interval.
    };

private:
    QRect grownLabelRect(double value) const;
    void rebuildLabels();
    void thinByHalves(QList<double> ticks);
    int parityAt(int index) const { return index == -1 ? 0 : (index & 1); }

    int m_axis;
    // draw() keeps its labels sorted in place.
    mutable QList<double> m_labels;
    QFont m_font;
    int m_labelGap = 8;
    bool m_axisPainted = false;
    unsigned int m_curKotirFlags = 0;
    double m_curKotir = -1.0;
    int m_curKotirIndex = -1;
    int m_equalDigitsNum = -1;

    // Grown label rectangles by value, kept only while one updateLabels() runs: the thinning
    // passes measure the same labels again and again.
    mutable QHash<double, QRect> m_rectCache;
    bool m_rectCacheActive = false;
};
