#include "plotfixture.h"

#include <plot2d/pricebased2dplotscaledraw.h>

#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include <QDataStream>

#include <functional>

namespace {

class UserCurve : public PriceBased2dPlotCurve
{
public:
    using PriceBased2dPlotCurve::PriceBased2dPlotCurve;
    int rtti() const override { return QwtPlotItem::Rtti_PlotUserItem; }
};

using CurveEdit = std::function<void(PriceBased2dPlotCurve*)>;

const QVector<QPointF> ThreePoints = {{1.0, 1.0}, {2.0, 4.0}, {3.0, 9.0}};

} // namespace

Q_DECLARE_METATYPE(CurveEdit)

class TestCurve : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private Q_SLOTS:
    void cleanup() { TestSupport::clearData(); }

    void dataTypes()
    {
        PriceBased2dPlotCurve curve(nullptr, QStringLiteral("c"));
        QCOMPARE(curve.dataType(), -1);
        QList<int> valid;
        for (int type = -2; type <= 20; ++type) {
            if (curve.isValidType(type))
                valid << type;
        }
        QCOMPARE(valid, (QList<int>{0, 9, 10, 11, 12, 13}));

        curve.setDataType(12);
        curve.setDataType(5);
        QCOMPARE(curve.dataType(), 12);
        curve.setDataType(-1);
        QCOMPARE(curve.dataType(), -1);
    }

    void validity_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<CurveEdit>("edit");
        QTest::addColumn<bool>("valid");

        const CurveEdit none = [](PriceBased2dPlotCurve*) {};
        QTest::newRow("value curve") << 9 << none << true;
        QTest::newRow("no samples") << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setSamples(QVector<QPointF>()); })
                                    << false;
        QTest::newRow("empty title") << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setTitle(QString()); })
                                     << false;
        QTest::newRow("no curve style")
            << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setStyle(QwtPlotCurve::NoCurve); }) << false;
        QTest::newRow("user style")
            << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setStyle(QwtPlotCurve::UserCurve); }) << false;
        QTest::newRow("dots") << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setStyle(QwtPlotCurve::Dots); })
                              << true;
        QTest::newRow("no legend attribute")
            << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setLegendAttribute(QwtPlotCurve::LegendShowLine, false); })
            << false;
        QTest::newRow("line without pen") << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setPen(QPen(Qt::NoPen)); })
                                          << false;
        QTest::newRow("line with invalid colour")
            << 9 << CurveEdit([](PriceBased2dPlotCurve* c) { c->setPen(QPen(QColor())); }) << false;
        QTest::newRow("symbol only ignores the pen") << 9 << CurveEdit([](PriceBased2dPlotCurve* c) {
            c->setLegendAttribute(QwtPlotCurve::LegendShowLine, false);
            c->setLegendAttribute(QwtPlotCurve::LegendShowSymbol, true);
            c->setPen(QPen(Qt::NoPen));
        }) << true;
        QTest::newRow("type never set") << -1 << none << false;
        QTest::newRow("quote line, two samples") << 0 << CurveEdit([](PriceBased2dPlotCurve* c) {
            c->setSamples(QVector<QPointF>{{5.0, 0.0}, {5.0, 1.0}});
        }) << true;
        QTest::newRow("quote line, three samples") << 0 << none << false;
        QTest::newRow("quote line, blue") << 0 << CurveEdit([](PriceBased2dPlotCurve* c) {
            c->setSamples(QVector<QPointF>{{5.0, 0.0}, {5.0, 1.0}});
            c->setPen(QPen(Qt::blue));
        }) << false;
        QTest::newRow("quote line, lines") << 0 << CurveEdit([](PriceBased2dPlotCurve* c) {
            c->setSamples(QVector<QPointF>{{5.0, 0.0}, {5.0, 1.0}});
            c->setStyle(QwtPlotCurve::Lines);
        }) << false;
    }

    void validity()
    {
        QFETCH(int, type);
        QFETCH(CurveEdit, edit);
        QFETCH(bool, valid);
        std::unique_ptr<PriceBased2dPlotCurve> curve(PlotFixture::validCurve(nullptr, QStringLiteral("c"), 9, ThreePoints));
        if (type == 0) {
            curve->setPen(QPen(Qt::red));
            curve->setStyle(QwtPlotCurve::Sticks);
        }
        curve->setDataType(type);
        edit(curve.get());
        QCOMPARE(curve->isValid(), valid);
    }

    void validityNeedsTheCurveRtti()
    {
        UserCurve curve(nullptr, QStringLiteral("c"));
        curve.setDataType(9);
        curve.setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve.setSamples(ThreePoints);
        QVERIFY(!curve.isValid());
    }

    void paramsRecord_data()
    {
        QTest::addColumn<int>("byteOrder");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("big endian") << int(QDataStream::BigEndian) << QByteArray::fromHex("01000000000c");
        QTest::newRow("little endian") << int(QDataStream::LittleEndian) << QByteArray::fromHex("01000c000000");
    }

    void paramsRecord()
    {
        QFETCH(int, byteOrder);
        QFETCH(QByteArray, bytes);
        std::unique_ptr<PriceBased2dPlotCurve> curve(PlotFixture::validCurve(nullptr, QStringLiteral("c"), 12, ThreePoints));
        curve->QwtPlotCurve::setVisible(false);

        QByteArray written;
        QDataStream out(&written, QIODevice::WriteOnly);
        out.setByteOrder(QDataStream::ByteOrder(byteOrder));
        curve->write(out);
        QCOMPARE(written, bytes);

        QDataStream in(written);
        in.setByteOrder(QDataStream::ByteOrder(byteOrder));
        PriceBased2dPlotCurve::CurveParams params;
        PriceBased2dPlotCurve::read(in, params);
        QVERIFY(params.valid);
        QVERIFY(!params.visible);
        QCOMPARE(params.dataType, 12);

        QDataStream truncated(written.left(5));
        truncated.setByteOrder(QDataStream::ByteOrder(byteOrder));
        PriceBased2dPlotCurve::read(truncated, params);
        QVERIFY(!params.valid);
        QVERIFY(!params.visible);
        QCOMPARE(params.dataType, 0);
    }

    void colour()
    {
        PriceBased2dPlotCurve curve(nullptr, QStringLiteral("c"));
        curve.setPen(QPen(Qt::green));
        QCOMPARE(curve.getColor(), QColor(Qt::green));
        curve.setStyle(QwtPlotCurve::Dots);
        QVERIFY(!curve.getColor().isValid());
        curve.setSymbol(new QwtSymbol(QwtSymbol::Ellipse, QBrush(), QPen(Qt::magenta), QSize(3, 3)));
        QCOMPARE(curve.getColor(), QColor(Qt::magenta));
        curve.setStyle(QwtPlotCurve::Sticks);
        QVERIFY(!curve.getColor().isValid());
    }

    void showingTheQuoteLine_data()
    {
        QTest::addColumn<QByteArray>("quote");
        QTest::addColumn<bool>("selectFuture");
        QTest::addColumn<bool>("shown");
        QTest::newRow("quote") << QByteArray("74.35") << true << true;
        QTest::newRow("zero quote") << QByteArray("0") << true << true;
        QTest::newRow("negative quote") << QByteArray("-1") << true << false;
        QTest::newRow("no future") << QByteArray("74.35") << false << false;
    }

    void showingTheQuoteLine()
    {
        QFETCH(QByteArray, quote);
        QFETCH(bool, selectFuture);
        QFETCH(bool, shown);
        QVERIFY(PlotFixture::load(m_dir, PlotFixture::row({{"sec_id", "1"}, {"isin_id", "1001"}, {"cur_kotir", quote}})));
        TestPlot plot;
        if (selectFuture)
            plot.setBaseCode(QStringLiteral("BR"));
        PriceInterval interval;
        interval.min = 55.0;
        interval.max = 95.0;
        plot.setPriceInterval(interval);
        auto* line = PlotFixture::validCurve(&plot, QStringLiteral("quote"), 0, {{70.0, 0.0}, {70.0, 1.0}});
        line->attach(&plot);
        line->setVisible(false);
        QVERIFY(!line->isVisible());

        plot.xScaleDraw()->setCurKotirValue(-7.0);
        line->setVisible(true);
        QCOMPARE(line->isVisible(), shown);
        QCOMPARE(plot.xScaleDraw()->curKotir(), shown ? quote.toDouble() : -7.0);
    }

    void markersFollowSamples()
    {
        QVERIFY(TestSupport::loadSampleData());
        TestPlot plot;
        auto* curve = PlotFixture::validCurve(&plot, QStringLiteral("m"), 13, {});
        curve->attach(&plot);

        // More markers wanted than present: created for this curve.
        curve->setMarkerSamples({{{1.0, 2.0}, true}, {{2.0, 3.0}, false}, {{3.0, 5.0}, true}});
        QList<QwtPlotMarker*> markers = plot.attachedMarkers();
        QCOMPARE(markers.size(), 2);
        QCOMPARE(markers.at(0)->value(), QPointF(1.0, 2.0));
        QCOMPARE(markers.at(1)->value(), QPointF(3.0, 5.0));
        QCOMPARE(curve->dataSize(), size_t(3));

        // Fewer: the last one is destroyed, the first moves.
        QwtPlotMarker* firstMarker = markers.at(0);
        QwtPlotMarker* lastMarker = markers.at(1);
        curve->setMarkerSamples({{{4.0, 1.0}, false}, {{5.0, 6.0}, true}, {{6.0, 1.0}, false}});
        markers = plot.attachedMarkers();
        QCOMPARE(markers, QList<QwtPlotMarker*>{firstMarker});
        QVERIFY(!plot.itemList(QwtPlotItem::Rtti_PlotMarker).contains(lastMarker));
        QCOMPARE(firstMarker->value(), QPointF(5.0, 6.0));
        QCOMPARE(curve->sample(2), QPointF(6.0, 1.0));

        // Markers follow the curve's visibility.
        curve->setVisible(false);
        QVERIFY(!firstMarker->isVisible());
        curve->setVisible(true);
        QVERIFY(firstMarker->isVisible());

        // Only the marker curve manages markers.
        curve->setDataType(9);
        curve->setMarkerSamples({{{1.0, 1.0}, true}, {{2.0, 2.0}, true}});
        QCOMPARE(plot.attachedMarkers().size(), 1);
        QCOMPARE(curve->dataSize(), size_t(3));
    }
};

PLOT2D_TEST_MAIN(TestCurve)
#include "tst_curve.moc"
