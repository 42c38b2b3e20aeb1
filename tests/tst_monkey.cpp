#include "testsupport.h"

#include <plot2d/pricebased2dplotpointmanager.h>

#include <qwt_scale_widget.h>

#include <QCheckBox>
#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

// Seeded so that a failure names the event that broke the plot and can be replayed.
quint32 envNumber(const char* name, quint32 fallback)
{
    bool ok = false;
    const quint32 value = qEnvironmentVariable(name).toUInt(&ok);
    return ok ? value : fallback;
}

using AxisRanges = std::pair<QwtInterval, QwtInterval>;

bool usable(const QwtInterval& interval)
{
    return std::isfinite(interval.minValue()) && std::isfinite(interval.maxValue()) &&
           interval.minValue() < interval.maxValue();
}

} // namespace

// The client side of a trading screen: a shown plot on the futures BR-1.27 with a quote line, value
// curves (one with NaN gaps, one with huge values), a marker curve, the legend, the picker and a point
// manager whose interval changes recompute the curves; under it a market whose quote and strikes move.
class TestMonkey : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QRandomGenerator m_random;
    int m_zooms = 0, m_pans = 0, m_strikeRows = 0;
    Table* m_securities = nullptr;
    QList<int> m_addedStrikeKeys;
    std::unique_ptr<TestPlot> m_plot;
    QPointer<PriceBased2dPlotLegend> m_legend;
    QPointer<PriceBased2dPlotPointManager> m_pointManager;
    QList<PriceBased2dPlotCurve*> m_curves;

    using Event = void (TestMonkey::*)();

    // What a client computes over the point manager's prices: Gamma has NaN gaps, Vega and Theta
    // reach magnitudes where labels and spans stop being exact.
    void recomputeCurves()
    {
        QList<double> prices = m_pointManager->calcPlotPoints(true);
        if (prices.isEmpty())
            prices = {55.0, 75.0, 95.0};
        QVector<QPointF> delta, gamma, vega, theta;
        QVector<PriceBased2dPlotPoint> markers;
        for (int i = 0; i < prices.size(); ++i) {
            const double x = prices.at(i);
            const double d = (x - 75.0) / 20.0;
            delta << QPointF(x, std::tanh(d));
            gamma << QPointF(x, i % 7 == 3 ? NaN : std::exp(-d * d));
            vega << QPointF(x, i % 11 == 5 ? 1e15 : 1e3 * std::exp(-d * d));
            theta << QPointF(x, i % 13 == 6 ? -1e300 : -d);
            markers << PriceBased2dPlotPoint{QPointF(x, std::tanh(d)), i % 10 == 0};
        }
        m_curves.at(1)->setSamples(delta);
        m_curves.at(2)->setSamples(gamma);
        m_curves.at(3)->setSamples(vega);
        m_curves.at(4)->setSamples(theta);
        m_curves.at(5)->setMarkerSamples(markers);
        m_plot->updateYAxisScale();
        m_plot->replot();
    }

    void setQuote(double quote)
    {
        const QwtInterval y = m_plot->axisInterval(QwtPlot::yLeft);
        m_curves.first()->setSamples(QVector<QPointF>{{quote, y.minValue()}, {quote, y.maxValue()}});
        m_plot->setCurKotirValue(quote);
        m_plot->updateCurKotirPoints(y.minValue(), y.maxValue(), quote);
        m_plot->replot();
    }

    AxisRanges ranges() const
    {
        return {m_plot->axisInterval(QwtPlot::xBottom), m_plot->axisInterval(QwtPlot::yLeft)};
    }

    int randomInt(int bound) { return int(m_random.bounded(quint32(bound))); }

    // A widget the user can point at (a squeezed canvas may have no area left) and a point in it.
    QWidget* randomTarget(QPoint* pos)
    {
        QList<QWidget*> targets;
        for (QWidget* widget : QList<QWidget*>{m_plot->canvas(), m_plot->axisWidget(QwtPlot::xBottom),
                                               m_plot->axisWidget(QwtPlot::yLeft), m_plot.get()})
            if (!widget->rect().isEmpty())
                targets << widget;
        QWidget* target = targets.at(randomInt(targets.size()));
        *pos = QPoint(randomInt(target->width()), randomInt(target->height()));
        return target;
    }

    Qt::KeyboardModifiers randomModifiers()
    {
        const Qt::KeyboardModifiers choices[] = {Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier,
                                                 Qt::AltModifier, Qt::ControlModifier | Qt::ShiftModifier};
        return randomInt(3) ? choices[randomInt(5)] : Qt::NoModifier;
    }

    void wheel()
    {
        QPoint pos;
        QWidget* target = randomTarget(&pos);
        const int notches = (randomInt(2) ? 1 : -1) * (1 + randomInt(randomInt(8) == 0 ? 10 : 2));
        const AxisRanges before = ranges();
        TestSupport::wheel(target, pos, QPoint(0, 120 * notches), randomModifiers());
        m_zooms += ranges() != before;
    }

    void drag()
    {
        QPoint from;
        QWidget* target = randomTarget(&from);
        const QPoint to = from + QPoint(randomInt(401) - 200, randomInt(301) - 150);
        const Qt::KeyboardModifiers modifiers = randomInt(4) == 0 ? randomModifiers() : Qt::NoModifier;
        const AxisRanges before = ranges();
        auto send = [&](QEvent::Type type, const QPoint& pos, Qt::MouseButtons buttons) {
            QMouseEvent event(type, pos, target->mapToGlobal(pos), Qt::LeftButton, buttons, modifiers);
            QApplication::sendEvent(target, &event);
        };
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        const int steps = 1 + randomInt(4);
        for (int i = 1; i <= steps; ++i)
            send(QEvent::MouseMove, from + (to - from) * i / steps, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, to, Qt::NoButton);
        if (ranges() != before)
            ++(target == m_plot->canvas() ? m_pans : m_zooms);
    }

    void resize() { m_plot->resize(120 + randomInt(900), 90 + randomInt(700)); }

    void legendClick()
    {
        const QList<LabelWidget*> rows = m_legend->findChildren<LabelWidget*>();
        if (rows.isEmpty())
            return;
        LabelWidget* row = rows.at(randomInt(rows.size()));
        QCheckBox* box = row->findChild<QCheckBox*>();
        if (box && randomInt(2))
            box->click();
        else
            QTest::mouseClick(row, Qt::LeftButton, Qt::NoModifier, QPoint(2, 2));
    }

    // Mostly plausible quotes, also stored in the futures row; now and then a broken feed's value.
    void quote()
    {
        static const double strange[] = {
            NaN, std::numeric_limits<double>::infinity(), 1e300, -1.0, 0.0, -0.0, 1e16, 4.9e-324};
        double value = 40.0 + m_random.generateDouble() * 70.0;
        if (randomInt(10) == 0) {
            value = strange[randomInt(8)];
        } else {
            Record changed = SecurityDirectory::i()->recordByIsinId(1001, 1).clone();
            changed.setValue(QStringLiteral("cur_kotir"), QString::number(value, 'f', 2));
            m_securities->insert(changed);
        }
        setQuote(value);
    }

    void strikeRow()
    {
        if (!m_addedStrikeKeys.isEmpty() && randomInt(2)) {
            m_securities->removeByKey(m_addedStrikeKeys.takeAt(randomInt(m_addedStrikeKeys.size())));
            return;
        }
        Record row = m_securities->newRecord();
        const int key = 900000 + m_strikeRows++;
        const QString strike = QString::number(30.0 + 0.5 * randomInt(200), 'f', 2);
        // The leading columns of securities.csv, in order.
        const QVariantList values = {
            key,    key, 1,    1,   QStringLiteral("BR%1").arg(key), "O", "BR", "2027-01-25", "0.01",
            strike, "C", 7001, 1001};
        for (int column = 0; column < values.size(); ++column)
            row.setValue(column, values.at(column));
        m_securities->insert(row);
        m_addedStrikeKeys << key;
    }

    void randomEvent()
    {
        static const int bounds[] = {40, 70, 80, 86, 94, 100}; // percentages, cumulative
        const int kind = int(std::upper_bound(std::begin(bounds), std::end(bounds), randomInt(100)) - bounds);
        static const Event events[] = {&TestMonkey::wheel,  &TestMonkey::drag,  &TestMonkey::legendClick,
                                       &TestMonkey::resize, &TestMonkey::quote, &TestMonkey::strikeRow};
        (this->*events[kind])();
        QCoreApplication::sendPostedEvents();
    }

    // The tick state of every valid curve's legend row.
    QMap<QString, bool> tickStates() const
    {
        QMap<QString, bool> states;
        for (const PriceBased2dPlotCurve* curve : m_curves) {
            bool found = false;
            const bool checked = m_legend->isCheckBoxChecked(curve->title().text(), &found);
            if (found && curve->isValid())
                states.insert(curve->title().text(), checked);
        }
        return states;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TestSupport::loadSampleData());
        m_securities = ICore::instance()->dataStore()->table(QStringLiteral("securities"));
        m_plot.reset(new TestPlot(true));
        m_plot->setIsinId(1001);
        m_plot->setBoardId(1);
        m_pointManager = new PriceBased2dPlotPointManager(false, m_plot.get());
        const char* titles[] = {"Quote", "Delta", "Gamma", "Vega", "Theta", "Strikes"};
        const int types[] = {PriceBased2dPlotCurve::CurKotirLine, 9, 10, 11, 12,
                             PriceBased2dPlotCurve::MarkerCurve};
        for (int i = 0; i < 6; ++i)
            m_curves << TestSupport::validCurve(m_plot.get(), QString::fromLatin1(titles[i]), types[i], {},
                                                QwtSymbol::Ellipse);
        m_legend = TestSupport::attachLegend(m_plot.get());
        TestSupport::attachPicker(m_plot.get());
        m_plot->setCanvasObservers();
        connect(m_pointManager, &PriceBased2dPlotPointManager::priceIntervalChanged, this,
                &TestMonkey::recomputeCurves);
        m_pointManager->updatePriceInterval();
        setQuote(74.35);
        recomputeCurves();
    }

    void cleanupTestCase()
    {
        m_plot.reset();
        TestSupport::clearData();
    }

    // Tens of thousands of seeded random inputs; after each the axes are finite and ordered,
    // and at the end the legend state survives a store and restore through an INI file.
    void randomEvents()
    {
        const quint32 seed = envNumber("PLOT2D_MONKEY_SEED", 20261122);
        const int total = int(envNumber("PLOT2D_MONKEY_EVENTS", 20000));
        m_random.seed(seed);
        QVERIFY(TestSupport::show(m_plot.get(), QSize(800, 500)));
        for (int i = 0; i < total; ++i) {
            randomEvent();
            if (i % 25 == 0)
                m_plot->grab();
            const AxisRanges now = ranges();
            QVERIFY2(usable(now.first) && usable(now.second),
                     qPrintable(QStringLiteral("seed %1, event %2").arg(seed).arg(i)));
        }

        const QString ini = m_dir.filePath(QStringLiteral("legend.ini"));
        Settings settings(ini);
        m_legend->store(settings);
        settings.sync();
        const QMap<QString, bool> stored = tickStates();
        QVERIFY(!stored.isEmpty());
        for (auto it = stored.cbegin(); it != stored.cend(); ++it) // something for restore to undo
            m_legend->setCheckBoxChecked(it.key(), !it.value());
        m_legend->restore(Settings(ini));
        QCOMPARE(tickStates(), stored);

        qInfo("monkey: seed %u, events %d, strike rows added %d: zooms %d, pans %d", seed, total,
              m_strikeRows, m_zooms, m_pans);
        QVERIFY(m_zooms > 0 && m_pans > 0);
    }
};

PLOT2D_TEST_MAIN(TestMonkey)
#include "tst_monkey.moc"
