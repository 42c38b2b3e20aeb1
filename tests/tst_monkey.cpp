#include "testsupport.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/pricebased2dplotpointmanager.h>

#include <qwt_legend_label.h>
#include <qwt_scale_widget.h>
#include <qwt_symbol.h>

#include <QCheckBox>
#include <QRandomGenerator>
#include <QTemporaryDir>

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

struct Counts
{
    int events = 0;
    int wheels = 0;
    int drags = 0;
    int zooms = 0;
    int pans = 0;
    int refusals = 0;
    int legendClicks = 0;
    int resizes = 0;
    int quotes = 0;
    int strikesAdded = 0;
    int strikesRemoved = 0;
};

struct AxisRanges
{
    QwtInterval x;
    QwtInterval y;
    bool operator==(const AxisRanges& other) const { return x == other.x && y == other.y; }
};

// The client side of a trading screen: a shown plot on the futures BR-1.27 with a quote line,
// value curves (one with NaN gaps, one with huge values), a marker curve, the legend, the picker
// and a point manager whose interval changes recompute the curves.
class MonkeyScreen
{
public:
    MonkeyScreen() : plot(new TestPlot(true))
    {
        plot->setIsinId(1001);
        plot->setBoardId(1);
        pointManager = new PriceBased2dPlotPointManager(false, plot.get());
        quoteLine = addCurve(QStringLiteral("Quote"), PriceBased2dPlotCurve::CurKotirLine, QwtSymbol::Rect);
        addCurve(QStringLiteral("Delta"), 9, QwtSymbol::DTriangle);
        addCurve(QStringLiteral("Gamma"), 10, QwtSymbol::UTriangle);
        addCurve(QStringLiteral("Vega"), 11, QwtSymbol::Ellipse);
        addCurve(QStringLiteral("Theta"), 12, QwtSymbol::Rect);
        markerCurve =
            addCurve(QStringLiteral("Strikes"), PriceBased2dPlotCurve::MarkerCurve, QwtSymbol::Diamond);

        legend = new PriceBased2dPlotLegend(plot.get());
        legend->initCore();
        plot->insertLegend(legend);
        QObject::connect(legend, &PriceBased2dPlotLegend::visibilityChanged, plot.get(),
                         &PriceBased2dPlot::setCurveVisible);

        picker = new PriceBased2dPlotPicker(plot->canvas());
        plot->setPicker(picker);
        picker->setPriceStep();
        plot->setCanvasObservers();

        QObject::connect(pointManager, &PriceBased2dPlotPointManager::priceIntervalChanged, plot.get(),
                         [this] { recomputeCurves(); });
        pointManager->updatePriceInterval();
        setQuote(74.35);
        recomputeCurves();
        plot->resize(800, 500);
        plot->show();
    }

    PriceBased2dPlotCurve* addCurve(const QString& title, int type, QwtSymbol::Style symbol)
    {
        const bool line = type == PriceBased2dPlotCurve::CurKotirLine;
        auto* curve = new PriceBased2dPlotCurve(plot.get(), title);
        curve->setDataType(type);
        curve->setStyle(line ? QwtPlotCurve::Sticks : QwtPlotCurve::Lines);
        curve->setPen(QPen(line ? Qt::red : Qt::blue));
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve->setSymbol(new QwtSymbol(symbol, QBrush(Qt::blue), QPen(Qt::blue), QSize(5, 5)));
        curve->attach(plot.get());
        curves << curve;
        return curve;
    }

    // What a client computes over the point manager's prices: Gamma has NaN gaps, Vega and Theta
    // reach magnitudes where labels and spans stop being exact.
    void recomputeCurves()
    {
        QList<double> prices = pointManager->calcPlotPoints(true);
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
            PriceBased2dPlotPoint point;
            point.point = QPointF(x, std::tanh(d));
            point.isMarker = i % 10 == 0;
            markers << point;
        }
        curves.at(1)->setSamples(delta);
        curves.at(2)->setSamples(gamma);
        curves.at(3)->setSamples(vega);
        curves.at(4)->setSamples(theta);
        markerCurve->setMarkerSamples(markers);
        plot->updateYAxisScale();
        plot->replot();
    }

    void setQuote(double quote)
    {
        const QwtInterval y = plot->axisInterval(QwtPlot::yLeft);
        quoteLine->setSamples(QVector<QPointF>{{quote, y.minValue()}, {quote, y.maxValue()}});
        plot->setCurKotirValue(quote);
        plot->updateCurKotirPoints(y.minValue(), y.maxValue(), quote);
        plot->replot();
    }

    AxisRanges ranges() const
    {
        return {plot->axisInterval(QwtPlot::xBottom), plot->axisInterval(QwtPlot::yLeft)};
    }

    std::unique_ptr<TestPlot> plot;
    QPointer<PriceBased2dPlotLegend> legend;
    QPointer<PriceBased2dPlotPicker> picker;
    QPointer<PriceBased2dPlotPointManager> pointManager;
    PriceBased2dPlotCurve* quoteLine = nullptr;
    PriceBased2dPlotCurve* markerCurve = nullptr;
    QList<PriceBased2dPlotCurve*> curves;
};

bool usableInterval(const QwtInterval& interval)
{
    return std::isfinite(interval.minValue()) && std::isfinite(interval.maxValue()) &&
           interval.minValue() < interval.maxValue();
}

QString describe(const AxisRanges& r)
{
    return QStringLiteral("x [%1, %2] y [%3, %4]")
        .arg(r.x.minValue(), 0, 'g', 17)
        .arg(r.x.maxValue(), 0, 'g', 17)
        .arg(r.y.minValue(), 0, 'g', 17)
        .arg(r.y.maxValue(), 0, 'g', 17);
}

QMap<QString, bool> tickStates(const PriceBased2dPlotLegend* legend,
                               const QList<PriceBased2dPlotCurve*>& curves)
{
    QMap<QString, bool> states;
    for (const PriceBased2dPlotCurve* curve : curves) {
        bool found = false;
        const bool checked = legend->isCheckBoxChecked(curve->title().text(), &found);
        if (found)
            states.insert(curve->title().text(), checked);
    }
    return states;
}

} // namespace

class TestMonkey : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QRandomGenerator m_random;
    Counts m_counts;
    MonkeyScreen* m_screen = nullptr;
    Table* m_securities = nullptr;
    QList<int> m_addedStrikeKeys;
    int m_nextSecId = 900000;

    int randomInt(int bound) { return int(m_random.bounded(quint32(bound))); }
    double randomReal(double lo, double hi) { return lo + m_random.generateDouble() * (hi - lo); }

    // A widget the user can point at (a squeezed canvas may have no area left) and a point in it.
    QWidget* randomTarget(QPoint* pos)
    {
        QList<QWidget*> targets;
        for (QWidget* widget : {static_cast<QWidget*>(m_screen->plot->canvas()),
                                static_cast<QWidget*>(m_screen->plot->axisWidget(QwtPlot::xBottom)),
                                static_cast<QWidget*>(m_screen->plot->axisWidget(QwtPlot::yLeft)),
                                static_cast<QWidget*>(m_screen->plot.get())}) {
            if (!widget->rect().isEmpty())
                targets << widget;
        }
        QWidget* target = targets.at(randomInt(targets.size()));
        *pos = QPoint(randomInt(target->width()), randomInt(target->height()));
        return target;
    }

    Qt::KeyboardModifiers randomModifiers()
    {
        static const Qt::KeyboardModifiers choices[] = {
            Qt::NoModifier,    Qt::NoModifier,  Qt::ControlModifier,
            Qt::ShiftModifier, Qt::AltModifier, Qt::ControlModifier | Qt::ShiftModifier};
        return choices[randomInt(6)];
    }

    // Counts an interaction as zoom, pan or refusal by what it did to the axes.
    void classify(const AxisRanges& before, bool pan)
    {
        if (m_screen->ranges() == before)
            ++m_counts.refusals;
        else if (pan)
            ++m_counts.pans;
        else
            ++m_counts.zooms;
    }

    void wheel()
    {
        QPoint pos;
        QWidget* target = randomTarget(&pos);
        const int notches = (randomInt(2) ? 1 : -1) * (1 + randomInt(randomInt(8) == 0 ? 10 : 2));
        const AxisRanges before = m_screen->ranges();
        QWheelEvent event(pos, target->mapToGlobal(pos), QPoint(), QPoint(0, 120 * notches), Qt::NoButton,
                          randomModifiers(), Qt::NoScrollPhase, false);
        QApplication::sendEvent(target, &event);
        ++m_counts.wheels;
        classify(before, false);
    }

    void drag()
    {
        QPoint from;
        QWidget* target = randomTarget(&from);
        const QPoint to = from + QPoint(randomInt(401) - 200, randomInt(301) - 150);
        const Qt::KeyboardModifiers modifiers = randomInt(4) == 0 ? randomModifiers() : Qt::NoModifier;
        const AxisRanges before = m_screen->ranges();
        send(target, QEvent::MouseButtonPress, from, Qt::LeftButton, modifiers);
        const int steps = 1 + randomInt(4);
        for (int i = 1; i <= steps; ++i)
            send(target, QEvent::MouseMove, from + (to - from) * i / steps, Qt::LeftButton, modifiers);
        send(target, QEvent::MouseButtonRelease, to, Qt::NoButton, modifiers);
        ++m_counts.drags;
        classify(before, target == m_screen->plot->canvas());
    }

    static void send(QWidget* target, QEvent::Type type, const QPoint& pos, Qt::MouseButtons buttons,
                     Qt::KeyboardModifiers modifiers)
    {
        QMouseEvent event(type, pos, target->mapToGlobal(pos), Qt::LeftButton, buttons, modifiers);
        QApplication::sendEvent(target, &event);
    }

    void legendClick()
    {
        const QList<LabelWidget*> rows = m_screen->legend->findChildren<LabelWidget*>();
        if (rows.isEmpty())
            return;
        LabelWidget* row = rows.at(randomInt(rows.size()));
        QCheckBox* box = row->findChild<QCheckBox*>();
        if (box && randomInt(2))
            box->click();
        else
            QTest::mouseClick(row, Qt::LeftButton, Qt::NoModifier, QPoint(2, 2));
        ++m_counts.legendClicks;
    }

    void resize()
    {
        m_screen->plot->resize(120 + randomInt(900), 90 + randomInt(700));
        ++m_counts.resizes;
    }

    // Mostly plausible quotes; now and then the kind of value a broken feed delivers.
    void quote()
    {
        static const double strange[] = {
            NaN, std::numeric_limits<double>::infinity(), 1e300, -1.0, 0.0, -0.0, 1e16, 4.9e-324};
        double value = randomReal(40.0, 110.0);
        if (randomInt(10) == 0)
            value = strange[randomInt(8)];
        else
            updateQuoteRow(value);
        m_screen->setQuote(value);
        ++m_counts.quotes;
    }

    void updateQuoteRow(double value)
    {
        for (const Record& record : m_securities->masterIndex()) {
            if (record.value(QStringLiteral("isin_id")).toInt() != 1001)
                continue;
            Record changed = record.clone();
            changed.setValue(QStringLiteral("cur_kotir"), QString::number(value, 'f', 2));
            m_securities->insert(changed);
            return;
        }
    }

    void strikeRow()
    {
        if (!m_addedStrikeKeys.isEmpty() && randomInt(2)) {
            m_securities->removeByKey(m_addedStrikeKeys.takeAt(randomInt(m_addedStrikeKeys.size())));
            ++m_counts.strikesRemoved;
            return;
        }
        Record row = m_securities->newRecord();
        const int key = m_nextSecId++;
        const double strike = 30.0 + 0.5 * randomInt(200);
        row.setValue(QStringLiteral("sec_id"), key);
        row.setValue(QStringLiteral("isin_id"), key);
        row.setValue(QStringLiteral("stock_id"), 1);
        row.setValue(QStringLiteral("board_id"), 1);
        row.setValue(QStringLiteral("sec_code"), QStringLiteral("BR%1").arg(key));
        row.setValue(QStringLiteral("sectype"), QStringLiteral("O"));
        row.setValue(QStringLiteral("base_code"), QStringLiteral("BR"));
        row.setValue(QStringLiteral("expdate"), QStringLiteral("2027-01-25"));
        row.setValue(QStringLiteral("price_step"), QStringLiteral("0.01"));
        row.setValue(QStringLiteral("strike"), QString::number(strike, 'f', 2));
        row.setValue(QStringLiteral("option_type"), QStringLiteral("C"));
        row.setValue(QStringLiteral("sess_id"), 7001);
        row.setValue(QStringLiteral("fut_isin_id"), 1001);
        m_securities->insert(row);
        m_addedStrikeKeys << key;
        ++m_counts.strikesAdded;
    }

    void randomEvent()
    {
        const int kind = randomInt(100);
        if (kind < 40)
            wheel();
        else if (kind < 70)
            drag();
        else if (kind < 80)
            legendClick();
        else if (kind < 86)
            resize();
        else if (kind < 94)
            quote();
        else
            strikeRow();
        QCoreApplication::sendPostedEvents();
        ++m_counts.events;
    }

    // Unticks the rows that round-trip, so that restoring has something to undo.
    void scrambleTicks(const QMap<QString, bool>& states)
    {
        for (auto it = states.cbegin(); it != states.cend(); ++it)
            m_screen->legend->setCheckBoxChecked(it.key(), !it.value());
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QString error;
        QVERIFY2(TestSupport::loadSampleData(&error), qPrintable(error));
        m_securities = ICore::instance()->dataStore()->table(QStringLiteral("securities"));
        QVERIFY(m_securities);
    }

    void cleanupTestCase()
    {
        delete m_screen;
        TestSupport::clearData();
    }

    // Tens of thousands of seeded random inputs; after each the axes are finite and ordered,
    // and at the end the legend state survives a store and restore through an INI file.
    void randomEvents()
    {
        const quint32 seed = envNumber("PLOT2D_MONKEY_SEED", 20261122);
        const int total = int(envNumber("PLOT2D_MONKEY_EVENTS", 20000));
        m_random.seed(seed);
        m_screen = new MonkeyScreen;
        QVERIFY(QTest::qWaitForWindowExposed(m_screen->plot.get()));
        QVERIFY2(usableInterval(m_screen->ranges().x) && usableInterval(m_screen->ranges().y),
                 qPrintable(describe(m_screen->ranges())));

        for (int i = 0; i < total; ++i) {
            randomEvent();
            if (i % 25 == 0)
                m_screen->plot->grab();
            const AxisRanges now = m_screen->ranges();
            QVERIFY2(usableInterval(now.x) && usableInterval(now.y),
                     qPrintable(QStringLiteral("seed %1, event %2: %3").arg(seed).arg(i).arg(describe(now))));
        }

        const QString ini = m_dir.filePath(QStringLiteral("legend.ini"));
        QMap<QString, bool> stored;
        {
            Settings settings(ini);
            m_screen->legend->store(settings);
            settings.sync();
            for (PriceBased2dPlotCurve* curve : m_screen->curves) {
                bool found = false;
                const bool checked = m_screen->legend->isCheckBoxChecked(curve->title().text(), &found);
                if (found && curve->isValid())
                    stored.insert(curve->title().text(), checked);
            }
        }
        QVERIFY(!stored.isEmpty());
        scrambleTicks(stored);
        {
            const Settings settings(ini);
            m_screen->legend->restore(settings);
        }
        const QMap<QString, bool> restored = tickStates(m_screen->legend, m_screen->curves);
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            QCOMPARE(restored.value(it.key()), it.value());

        qInfo("monkey: seed %u, events %d (wheels %d, drags %d, legend clicks %d, resizes %d, quotes %d, "
              "strikes +%d -%d): zooms %d, pans %d, refusals %d",
              seed, m_counts.events, m_counts.wheels, m_counts.drags, m_counts.legendClicks, m_counts.resizes,
              m_counts.quotes, m_counts.strikesAdded, m_counts.strikesRemoved, m_counts.zooms, m_counts.pans,
              m_counts.refusals);
        QCOMPARE(m_counts.events, total);
        QVERIFY(m_counts.zooms > 0);
        QVERIFY(m_counts.pans > 0);
    }
};

PLOT2D_TEST_MAIN(TestMonkey)
#include "tst_monkey.moc"
