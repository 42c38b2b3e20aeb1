#pragma once

#include "plot2dglobal.h"

#include <qwt_legend.h>

#include <QMap>
#include <QPixmap>
#include <QPointer>
#include <QStringList>
#include <QWidget>

class PriceBased2dPlot;
class PriceBased2dPlotCurve;
class QCheckBox;
class QwtDynGridLayout;
class QwtLegendLabel;
class QwtPlot;
class Settings;

/// The row widget of one legend entry: a check box, then the legend label.
class PLOT2D_EXPORT LabelWidget : public QWidget
{
    Q_OBJECT

public:
    /// An empty row; the legend adds the check box and the label.
    explicit LabelWidget(QWidget* parent = nullptr);
    /// Its check box and label go with it.
    ~LabelWidget() override;

protected:
    /// A left click anywhere on the row toggles its check box.
    void mousePressEvent(QMouseEvent* event) override;
};

/// A legend whose rows are check boxes that show and hide curves; unticked rows are greyed, show a reset icon
/// and are remembered, and the curves' display state can be stored and restored.
class PLOT2D_EXPORT PriceBased2dPlotLegend : public QwtLegend
{
    Q_OBJECT

public:
    /// A legend for `plot`, which becomes its parent widget.
    explicit PriceBased2dPlotLegend(QwtPlot* plot);
    /// The rows go with the legend; the curves stay.
    ~PriceBased2dPlotLegend() override;

    /// Draws the reset icons; call it once after construction.
    void initCore();

    /// Forgets rows whose widgets are gone.
    void updateItemMaps();
    /// Whether the row titled `text` is ticked; `found` tells whether there is such a row.
    bool isCheckBoxChecked(const QString& text, bool* found) const;
    /// Ticks or unticks the row titled `text`, as a click would.
    void setCheckBoxChecked(const QString& text, bool checked);
    /// Re-aligns row `index` of the legend's grid layout after its contents changed.
    void updateDynLayoutItemAlignment(int index);

    // --- persistence and reset icons ---
    /// Replaces the remembered unticked titles; restoreUncheckedItems() applies them.
    void setUncheckedItems(const QStringList& items);
    /// Titles of the unticked rows, in the order they were unticked.
    QStringList uncheckedItems() const;
    /// Unticks every row whose title is remembered as unticked.
    void restoreUncheckedItems();
    /// Sets the icon of the row titled `text`.
    void setCheckBoxIcon(const QString& text, const QPixmap& icon);
    /// Gives `label` the reset icon of its curve's symbol style, the sign of a hidden curve.
    void setResetIcon(QwtLegendLabel* label);

    /// The reset icons by symbol style.
    QMap<int, QPixmap> resetIcons() const { return m_resetIcons; }
    /// The plot whose curves the legend lists.
    QwtPlot* plot() const { return m_plot; }
    /// The layout of the rows; null when Qwt gave another kind.
    QwtDynGridLayout* dynLayout() const { return m_dynLayout; }

    /// Writes the rows' tick states and the curves' display state under "legendItemKeys", to survive a
    /// restart.
    virtual void store(Settings& settings) const;
    /// Reads what store() wrote and re-applies the tick states.
    virtual void restore(const Settings& settings);
    /// Draws the reset icons, one per symbol style in use.
    virtual void createResetIcons();
    /// The symbol style that picks a curve's reset icon; -1 for none.
    virtual int getStyle(const PriceBased2dPlotCurve* curve) const;

Q_SIGNALS:
    /// The row titled `labelText` was ticked (true) or unticked (false); connect it to
    /// PriceBased2dPlot::setCurveVisible().
    void visibilityChanged(const QString& labelText, bool visible);

public Q_SLOTS:
    /// Greys or restores a row and announces it when its check box changes.
    void onCheckBoxChecked(int state);

protected:
    /// Swallows the wheel, so that turning it over the legend never zooms the plot.
    void wheelEvent(QWheelEvent* event) override;
    /// A check-box row for a new legend entry.
    QWidget* createWidget(const QwtLegendData& data) const override;
    /// Brings a row up to date with its curve's title and icon.
    void updateWidget(QWidget* widget, const QwtLegendData& data) override;

private:
    QCheckBox* findCheckBox(const QString& text) const;
    QwtLegendLabel* labelOf(const QCheckBox* checkBox) const;
    void applyUnchecked(QCheckBox* checkBox, QwtLegendLabel* label, const QString& text);
    void applyChecked(QCheckBox* checkBox, QwtLegendLabel* label, const QString& text);
    void applyCurveState(const PriceBased2dPlot* plot, int dataType, bool visible);

    // createWidget() is const in Qwt but records the new row in the maps.
    mutable QMap<QPointer<QCheckBox>, QPointer<QwtLegendLabel>> m_checkBoxLabels;
    QMap<QPointer<QCheckBox>, QPixmap> m_checkBoxIcons;
    QStringList m_uncheckedItems;
    QMap<int, QPixmap> m_resetIcons;
    QwtDynGridLayout* m_dynLayout = nullptr;
    QwtPlot* m_plot = nullptr;
};
