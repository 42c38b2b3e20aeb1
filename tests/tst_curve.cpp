#include "testsupport.h"

#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_plot_marker.h>

#include <functional>

using CurveEdit = std::function<void(PriceBased2dPlotCurve*)>;
Q_DECLARE_METATYPE(CurveEdit)

namespace {

const QVector<QPointF> TwoPoints = {{5.0, 0.0}, {5.0, 1.0}};

class UserRttiCurve : public PriceBased2dPlotCurve
{
public:
    using PriceBased2dPlotCurve::PriceBased2dPlotCurve;
    int rtti() const override { return QwtPlotItem::Rtti_PlotUserItem; }
};

} // namespace

class TestCurve : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void validityRulesOfCurves_data()
    {
        TestSupport::columns<int, CurveEdit, bool>({"type", "edit", "valid"});
        using C = PriceBased2dPlotCurve;
        QTest::newRow("value curve") << 9 << CurveEdit([](C*) {}) << true;
        QTest::newRow("own rtti") << 9 << CurveEdit([](C*) {}) << false; // built as UserRttiCurve
        QTest::newRow("no samples") << 9 << CurveEdit([](C* c) { c->setSamples(QVector<QPointF>()); })
                                    << false;
        QTest::newRow("no legend attribute")
            << 9 << CurveEdit([](C* c) { c->setLegendAttribute(QwtPlotCurve::LegendShowLine, false); })
            << false;
        QTest::newRow("line, no pen") << 9 << CurveEdit([](C* c) { c->setPen(QPen(Qt::NoPen)); }) << false;
        QTest::newRow("symbol only, no pen") << 9 << CurveEdit([](C* c) {
            c->setLegendAttribute(QwtPlotCurve::LegendShowLine, false);
            c->setLegendAttribute(QwtPlotCurve::LegendShowSymbol, true);
            c->setPen(QPen(Qt::NoPen));
        }) << true;
        QTest::newRow("type never set") << -1 << CurveEdit([](C*) {}) << false;
        QTest::newRow("quote line") << 0 << CurveEdit([](C* c) { c->setSamples(TwoPoints); }) << true;
        QTest::newRow("quote line, three samples") << 0 << CurveEdit([](C*) {}) << false;
        QTest::newRow("quote line, blue") << 0 << CurveEdit([](C* c) {
            c->setSamples(TwoPoints);
            c->setPen(QPen(Qt::blue));
        }) << false;
    }

    void validityRulesOfCurves()
    {
        const auto [type, edit, valid] = TestSupport::fetch<int, CurveEdit, bool>({"type", "edit", "valid"});
        const bool ownRtti = QByteArray(QTest::currentDataTag()) == "own rtti";
        std::unique_ptr<PriceBased2dPlotCurve> curve(
            ownRtti ? new UserRttiCurve(nullptr, QStringLiteral("c"))
                    : new PriceBased2dPlotCurve(nullptr, QStringLiteral("c")));
        curve->setStyle(type == 0 ? QwtPlotCurve::Sticks : QwtPlotCurve::Lines);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve->setPen(QPen(type == 0 ? Qt::red : Qt::blue));
        curve->setSamples(QVector<QPointF>{{1, 1}, {2, 4}, {3, 9}});
        curve->setDataType(type);
        edit(curve.get());
        QCOMPARE(curve->isValid(), valid);
    }

    void quoteLineShowsOnlyWithAQuote_data()
    {
        TestSupport::columns<QByteArray, bool, bool>({"quote", "selectFuture", "shown"});
        QTest::newRow("quote") << QByteArray("74.35") << true << true;
        QTest::newRow("zero quote") << QByteArray("0") << true << true;
        QTest::newRow("negative quote") << QByteArray("-1") << true << false;
        QTest::newRow("no future") << QByteArray("74.35") << false << false;
    }

    void quoteLineShowsOnlyWithAQuote()
    {
        const auto [quote, selectFuture, shown] =
            TestSupport::fetch<QByteArray, bool, bool>({"quote", "selectFuture", "shown"});
        QVERIFY(TestSupport::load(
            m_dir, TestSupport::row({{"sec_id", "1"}, {"isin_id", "1001"}, {"cur_kotir", quote}})));
        TestPlot plot;
        if (selectFuture)
            plot.setBaseCode(QStringLiteral("BR"));
        plot.setPriceInterval({55.0, 95.0});
        auto* line = TestSupport::validCurve(&plot, QStringLiteral("quote"), 0, {{70.0, 0.0}, {70.0, 1.0}});
        line->setVisible(false);
        plot.xScaleDraw()->setCurKotirValue(-7.0);
        line->setVisible(true);
        QCOMPARE(line->isVisible(), shown);
        QCOMPARE(plot.xScaleDraw()->curKotir(), shown ? quote.toDouble() : -7.0);
    }

    void markersFollowMarkerSamples()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot plot;
        auto* curve = TestSupport::validCurve(&plot, QStringLiteral("m"), 13, {});

        // More markers wanted than present: created.
        curve->setMarkerSamples({{{1.0, 2.0}, true}, {{2.0, 3.0}, false}, {{3.0, 5.0}, true}});
        const QList<QwtPlotMarker*> made = plot.attachedMarkers();
        QCOMPARE(made.size(), 2);
        QCOMPARE(made.at(1)->value(), QPointF(3.0, 5.0));
        QCOMPARE(curve->dataSize(), size_t(3));

        // Fewer: the last one is destroyed, the first moves, every point becomes a sample.
        curve->setMarkerSamples({{{4.0, 1.0}, false}, {{5.0, 6.0}, true}, {{6.0, 1.0}, false}});
        QCOMPARE(plot.attachedMarkers(), QList<QwtPlotMarker*>{made.first()});
        QCOMPARE(plot.itemList(QwtPlotItem::Rtti_PlotMarker).size(), 1);
        QCOMPARE(made.first()->value(), QPointF(5.0, 6.0));
        QCOMPARE(curve->sample(2), QPointF(6.0, 1.0));

        curve->setVisible(false);
        QVERIFY(!made.first()->isVisible());

        // Only the marker curve manages markers.
        curve->setDataType(9);
        curve->setMarkerSamples({{{1.0, 1.0}, true}, {{2.0, 2.0}, true}});
        QCOMPARE(plot.attachedMarkers().size(), 1);
        QCOMPARE(curve->dataSize(), size_t(3));
    }
};

PLOT2D_TEST_MAIN(TestCurve)
#include "tst_curve.moc"
