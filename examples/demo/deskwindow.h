#pragma once

#include <QJsonObject>
#include <QMainWindow>

#include <memory>

class DeskHeader;
class DeskPlot;
class DeskSettings;
class PlotPanel;
class QAction;
class QLabel;
class QTimer;

// The options desk: the P&L plot over the greeks plot, their price axes linked, a header line, a
// tool bar, the live futures quote, and the settings that bring the desk back as it was left.
class DeskWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Options
    {
        QString baseCode = QStringLiteral("BR");
        QString settingsPath; // INI file of the desk's state; none when empty
        bool writeSettings = true;
        bool live = true; // move the quote on a timer
        quint32 seed = 1; // the quote's random walk
        int tickMs = 1000;
        QString stateFile;     // JSON dump of the state for scripts; none when empty
        QSize size{1200, 700}; // unless the settings hold a geometry
    };

    explicit DeskWindow(const Options& options, QWidget* parent = nullptr);
    ~DeskWindow() override;

    DeskPlot* pnlPlot() const;
    DeskPlot* greeksPlot() const;
    QList<PlotPanel*> panels() const { return m_panels; }

    // Unticks the named legend rows; returns the names no legend has.
    QStringList uncheck(const QStringList& titles);
    QStringList uncheckedItems() const;
    void setWarnings(const QStringList& warnings);
    // Lays the window out at its size and paints it, labels included.
    QImage render();
    QJsonObject state() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void moveEvent(QMoveEvent* event) override;

private:
    PlotPanel* addPanel(DeskPlot* plot, const QString& group);
    void alignPanels();
    void createToolBar();
    void restoreSettings();
    void restoreView();
    void storeLegends();
    void storeView();
    void scheduleStore();
    void onSecuritiesChanged();
    void showQuote();

    Options m_options;
    std::unique_ptr<DeskSettings> m_settings;
    QList<PlotPanel*> m_panels;
    DeskHeader* m_header = nullptr;
    QAction* m_autoScaleAction = nullptr;
    QAction* m_gridAction = nullptr;
    QLabel* m_quoteLabel = nullptr;
    QTimer* m_storeTimer = nullptr;
    bool m_restoring = false;
};
