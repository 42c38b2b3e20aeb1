#pragma once

#include <QJsonObject>
#include <QObject>

class CrosshairReadout;
class DeskPlot;
class DeskSettings;
class PriceBased2dPlotLegend;
class PriceBased2dPlotPicker;
class PriceBased2dPlotPointManager;

// The tools a host sets up around one price plot: the check-box legend, the picker, the point
// manager over the base code's strikes and the crosshair readout, wired as the plot expects.
class PlotPanel : public QObject
{
    Q_OBJECT

public:
    // `group` names the panel in the settings and the state dump.
    PlotPanel(DeskPlot* plot, const QString& baseCode, const QString& group);

    QString group() const { return m_group; }
    DeskPlot* plot() const { return m_plot; }
    PriceBased2dPlotLegend* legend() const { return m_legend; }
    CrosshairReadout* readout() const { return m_readout; }

    void storeLegend(DeskSettings& settings) const;
    void restoreLegend(const DeskSettings& settings);
    // The Y range and its autoscale flag; the shared price range is the window's.
    void storeView(DeskSettings& settings) const;
    void restoreView(const DeskSettings& settings);

    // The plot's state, the readout's and the legend's, with the screen positions of the canvas,
    // the scales and the legend's check boxes.
    QJsonObject state() const;

Q_SIGNALS:
    // A legend row was ticked or unticked.
    void legendChanged();

private:
    void onLegendChanged();
    QJsonObject legendState() const;

    DeskPlot* m_plot;
    QString m_group;
    PriceBased2dPlotLegend* m_legend = nullptr;
    PriceBased2dPlotPicker* m_picker = nullptr;
    PriceBased2dPlotPointManager* m_manager = nullptr;
    CrosshairReadout* m_readout = nullptr;
};
