#pragma once

#include <QJsonObject>
#include <QObject>

class CrosshairReadout;
class DeskPlot;
class PriceBased2dPlotLegend;
class PriceBased2dPlotPicker;
class PriceBased2dPlotPointManager;

// The tools a host sets up around one price plot: the check-box legend, the picker, the point
// manager over the base code's strikes and the crosshair readout, wired as the plot expects.
class PlotPanel : public QObject
{
    Q_OBJECT

public:
    PlotPanel(DeskPlot* plot, const QString& baseCode);

    DeskPlot* plot() const { return m_plot; }
    PriceBased2dPlotLegend* legend() const { return m_legend; }
    CrosshairReadout* readout() const { return m_readout; }

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
    PriceBased2dPlotLegend* m_legend = nullptr;
    PriceBased2dPlotPicker* m_picker = nullptr;
    PriceBased2dPlotPointManager* m_manager = nullptr;
    CrosshairReadout* m_readout = nullptr;
};
