#pragma once

#include <qwt_widget_overlay.h>

#include <QJsonObject>

class DeskPlot;

// A crosshair on the plot's canvas at the cursor's price, snapped to the price step, with a box
// listing every visible curve's value at that price. It follows the cursor and is recomputed on
// every zoom, pan, legend change and quote tick.
class CrosshairReadout : public QwtWidgetOverlay
{
public:
    struct Row
    {
        QString title;
        QColor color;
        QString value;
    };

    explicit CrosshairReadout(DeskPlot* plot);

    // True while the cursor is over the canvas.
    bool isActive() const { return m_active; }
    double price() const;
    QList<Row> rows() const;
    // Repaints with the current ranges and values.
    void refresh();
    QJsonObject state() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void drawOverlay(QPainter* painter) const override;
    QRegion maskHint() const override;

private:
    int lineX() const;
    // The box: the price on its first line, then one line per row.
    QRect boxRect(const QList<Row>& rows) const;

    DeskPlot* m_plot;
    QPoint m_cursor;
    bool m_active = false;
};
