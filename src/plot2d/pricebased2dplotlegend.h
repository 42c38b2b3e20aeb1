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

// The row widget of one legend entry: a check box, then the legend label.
class PLOT2D_EXPORT LabelWidget : public QWidget
{
    Q_OBJECT

public:
    explicit LabelWidget(QWidget* parent = nullptr);
    ~LabelWidget() override;

protected:
    // A left click anywhere on the row toggles its check box.
    void mousePressEvent(QMouseEvent* event) override;
};

// A legend whose rows are check boxes that show and hide curves; unticked rows are greyed, show a
// reset icon and are remembered, and the curves' display state can be stored and restored.
class PLOT2D_EXPORT PriceBased2dPlotLegend : public QwtLegend
{
    Q_OBJECT

public:
    explicit PriceBased2dPlotLegend(QwtPlot* plot);
    ~PriceBased2dPlotLegend() override;

    void initCore();

    void updateItemMaps();
    bool isCheckBoxChecked(const QString& text, bool* found) const;
    void setCheckBoxChecked(const QString& text, bool checked);
    void updateDynLayoutItemAlignment(int index);

    // --- persistence and reset icons ---
    void setUncheckedItems(const QStringList& items);
    QStringList uncheckedItems() const;
    void restoreUncheckedItems();
    void setCheckBoxIcon(const QString& text, const QPixmap& icon);
    void setResetIcon(QwtLegendLabel* label);

    QMap<int, QPixmap> resetIcons() const { return m_resetIcons; }
    QwtPlot* plot() const { return m_plot; }
    QwtDynGridLayout* dynLayout() const { return m_dynLayout; }

    virtual void store(Settings& settings) const;
    virtual void restore(const Settings& settings);
    virtual void createResetIcons();
    virtual int getStyle(const PriceBased2dPlotCurve* curve) const;

Q_SIGNALS:
    void visibilityChanged(const QString& labelText, bool visible);

public Q_SLOTS:
    void onCheckBoxChecked(int state);

protected:
    void wheelEvent(QWheelEvent* event) override;
    QWidget* createWidget(const QwtLegendData& data) const override;
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
