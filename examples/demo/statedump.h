#pragma once

#include <QHash>
#include <QJsonObject>
#include <QObject>

#include <functional>

class DeskPlot;
class QTimer;

// Writes the desk's state as JSON to a file whenever it changed (polled ten times a second), so
// that a script driving the real window can check what the desk shows. It also records the quote
// each price axis carried when it was last painted: a label that was not repainted shows up here.
class StateDump : public QObject
{
    Q_OBJECT

public:
    StateDump(const QString& path, std::function<QJsonObject()> state, QObject* parent = nullptr);

    void watchAxis(const QString& name, DeskPlot* plot);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void write();

    QString m_path;
    std::function<QJsonObject()> m_state;
    QHash<QObject*, std::pair<QString, DeskPlot*>> m_axes;
    QJsonObject m_painted;
    QByteArray m_written;
};
