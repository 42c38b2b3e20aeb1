#pragma once

#include <QMainWindow>
#include <QRandomGenerator>

class DeskPlot;
class PriceBased2dPlotLegend;
class PriceBased2dPlotPicker;
class PriceBased2dPlotPointManager;
class QAction;
class QLabel;
class QTimer;

// The options desk: the plot with its legend, tracker and tool bar, and a live futures quote.
class DeskWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Options
    {
        QString baseCode = QStringLiteral("BR");
        QString settingsPath; // INI file of the legend state
        bool live = true;     // move the quote on a timer
        quint32 seed = 1;     // the quote's random walk
        int tickMs = 1000;
        QStringList uncheck; // legend rows to untick after the start
    };

    explicit DeskWindow(const Options& options, QWidget* parent = nullptr);
    ~DeskWindow() override;

    DeskPlot* plot() const { return m_plot; }
    PriceBased2dPlotLegend* legend() const { return m_legend; }
    // Writes the legend state to the settings file.
    void storeSettings() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void createToolBar();
    void restoreSettings();
    void onPriceIntervalChanged();
    void onSecuritiesChanged();
    void stepQuote();
    void track(const QPoint& canvasPos);
    void showQuote();

    Options m_options;
    DeskPlot* m_plot = nullptr;
    PriceBased2dPlotPointManager* m_manager = nullptr;
    PriceBased2dPlotLegend* m_legend = nullptr;
    PriceBased2dPlotPicker* m_picker = nullptr;
    QAction* m_autoScaleAction = nullptr;
    QLabel* m_quoteLabel = nullptr;
    QTimer* m_marketTimer = nullptr;
    QRandomGenerator m_random;
    bool m_stored = false;
};
