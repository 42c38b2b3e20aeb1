#include "statedump.h"

#include "deskplot.h"

#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_scale_widget.h>

#include <QEvent>
#include <QJsonDocument>
#include <QSaveFile>
#include <QTimer>

namespace {

constexpr int PollMs = 100;

} // namespace

StateDump::StateDump(const QString& path, std::function<QJsonObject()> state, QObject* parent)
    : QObject(parent), m_path(path), m_state(std::move(state))
{
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &StateDump::write);
    timer->start(PollMs);
}

void StateDump::watchAxis(const QString& name, DeskPlot* plot)
{
    QWidget* axis = plot->axisWidget(QwtPlot::xBottom);
    m_axes.insert(axis, {name, plot});
    axis->installEventFilter(this);
}

bool StateDump::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Paint && m_axes.contains(watched)) {
        const std::pair<QString, DeskPlot*> axis = m_axes.value(watched);
        m_painted.insert(axis.first, axis.second->xScaleDraw()->curKotir());
    }
    return QObject::eventFilter(watched, event);
}

void StateDump::write()
{
    QJsonObject state = m_state();
    state.insert(QStringLiteral("paintedAxisQuote"), m_painted);
    const QByteArray json = QJsonDocument(state).toJson(QJsonDocument::Indented);
    if (json == m_written)
        return;
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly) && file.write(json) == json.size() && file.commit())
        m_written = json;
}
