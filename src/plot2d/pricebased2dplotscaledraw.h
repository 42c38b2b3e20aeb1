#pragma once

#include "plot2dglobal.h"
#include "pricebased2dplotconverter.h"

#include <qwt_scale_draw.h>

#include <QFont>
#include <QHash>
#include <QList>
#include <QRect>

#include <utility>

// Scale draw of the plot's axes: chooses which ticks get labels, trims the digits that
// neighbouring labels share, thins labels until none overlap and draws the current quote's
// label last, in the quote colour.
class PLOT2D_EXPORT PriceBased2dPlotScaleDraw : public QwtScaleDraw, public virtual PriceBased2dPlotConverter
{
public:
    explicit PriceBased2dPlotScaleDraw(int axis);
    ~PriceBased2dPlotScaleDraw() override;

    void draw(QPainter* painter, const QPalette& palette) const override;
    QwtText label(double value) const override;
    double extent(const QFont& font) const override;

    // Rebuilds labels, curKotirIndex and equalDigitsNum from the current scale division.
    virtual void updateLabels();

    // --- label candidates, quote position, digit trimming ---
    QList<double> getTicks(const QwtScaleDiv& div) const;
    void updateCurKotirStatus();
    void updateCurKotirIndex(const QList<double>& values);
    void setCurKotirEnabled(bool enabled);
    void setEqualDigitsNum();
    int findEqualDigitsInIntegerPart(long long a, long long b, int length);
    int findEqualDigitsInFractionPart(double a, double b);
    int maxFractionLength() const;

    // --- geometry, overlap removal, drawing ---
    QList<QRect> getBoundingRects(const QList<double>& values) const;
    QRect tickLabelBoundingRect(double value) const;
    std::pair<double, double> getIntersectedPair(const QRect& r1, const QRect& r2, double a, double b) const;
    QList<std::pair<double, double>> overlappedLabels(const QList<double>& values) const;
    bool removeOneTick(const std::pair<double, double>& pair, QList<double>& values) const;
    bool ticksShrinked(const QwtScaleDiv& div) const;
    int maxLabelWidth(const QFont& font) const;
    void drawTickLabel(QPainter* painter, const QPalette& palette, double value) const;

    // --- plain accessors ---
    int axis() const { return m_axis; }
    QList<double> labels() const { return m_labels; }
    int labelGap() const { return m_labelGap; }
    bool axisPainted() const { return m_axisPainted; }
    void setAxisPainted(bool painted) { m_axisPainted = painted; }
    double curKotir() const { return m_curKotir; }
    void setCurKotirValue(double value) { m_curKotir = value; }
    unsigned int curKotirFlags() const { return m_curKotirFlags; }
    int curKotirIndex() const { return m_curKotirIndex; }
    int equalDigitsNum() const { return m_equalDigitsNum; }
    QFont font() const { return m_font; }
    void setFont(const QFont& font) { m_font = font; }

    enum CurKotirFlag : unsigned int
    {
        CurKotirShown = 0x1,  // the quote is to be shown
        CurKotirInside = 0x2, // the quote lies strictly inside the visible interval
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
