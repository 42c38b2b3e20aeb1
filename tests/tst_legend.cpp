#include "testsupport.h"

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>

#include <qwt_legend_label.h>
#include <qwt_plot_marker.h>
#include <qwt_symbol.h>

#include <QCheckBox>
#include <QStyleOptionButton>
#include <QTemporaryDir>

#include <memory>

namespace {

// A shown plot with Delta (type 9, down triangles), Gamma (10, up triangles, the tallest) and Vega
// (11, ellipses), and the legend wired the way the client wires it.
struct LegendFixture
{
    LegendFixture() : plot(new TestPlot(true))
    {
        addCurve("Delta", 9, QwtSymbol::DTriangle, 1.0);
        addCurve("Gamma", 10, QwtSymbol::UTriangle, 100.0);
        addCurve("Vega", 11, QwtSymbol::Ellipse, 5.0);
        legend = new PriceBased2dPlotLegend(plot.get());
        legend->initCore();
        plot->insertLegend(legend);
        QObject::connect(legend, &PriceBased2dPlotLegend::visibilityChanged, plot.get(),
                         &PriceBased2dPlot::setCurveVisible);
        plot->resize(640, 400);
        plot->show();
    }
    void addCurve(const QString& title, int type, QwtSymbol::Style symbol, double top)
    {
        auto* curve = new PriceBased2dPlotCurve(plot.get(), title);
        curve->setDataType(type);
        curve->setPen(QPen(Qt::blue, 1.0));
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
        curve->setSamples(QVector<QPointF>{{60.0, 0.0}, {75.0, top / 2}, {90.0, top}});
        curve->setSymbol(new QwtSymbol(symbol, QBrush(Qt::blue), QPen(Qt::blue), QSize(5, 5)));
        curve->attach(plot.get());
        curves << curve;
    }
    QwtLegendLabel* label(const QString& title) const
    {
        for (QwtLegendLabel* label : legend->findChildren<QwtLegendLabel*>())
            if (label->text().text() == title)
                return label;
        return nullptr;
    }
    QCheckBox* box(const QString& title) const
    {
        return label(title)->parentWidget()->findChild<QCheckBox*>();
    }
    QStringList uncheckedTitles() const
    {
        QStringList titles;
        for (const PriceBased2dPlotCurve* curve : curves)
            if (!box(curve->title().text())->isChecked())
                titles << curve->title().text();
        return titles;
    }

    std::unique_ptr<TestPlot> plot;
    QPointer<PriceBased2dPlotLegend> legend;
    QList<PriceBased2dPlotCurve*> curves;
};

QImage image(const QPixmap& pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_RGB32);
}

} // namespace

class TestLegend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        const QString path = TestSupport::writeFile(
            m_dir.path(), "securities.csv",
            "sec_id:2,isin_id:1,stock_id:1,board_id:1,sec_code:5:25,sectype:5:1,base_code:5:20,expdate:6,"
            "price_step:4:5,strike:4:5,option_type:5:1,sess_id:1,fut_isin_id:1,base_isin_id:1,bid:4:5,ask:4:"
            "5,"
            "cur_kotir_real:4:5,cur_kotir:4:5,old_kotir:4:5,volat_min:4:4,volat_max:4:4,lasttime:6\n"
            "1,1001,1,1,BR-1.27,F,BR,,0.01,,,7001,,,,,,74.35,74.10,0.25,0.45,\n");
        QString error;
        QVERIFY2(ICore::instance()->dataStore()->loadCsv("securities", path, &error), qPrintable(error));
    }
    void cleanupTestCase() { TestSupport::clearData(); }

    void untickHidesCurveAndRetickRestores()
    {
        LegendFixture f;
        PriceBased2dPlotPicker picker(f.plot->canvas());
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        QwtLegendLabel* gamma = f.label("Gamma");
        QVERIFY(f.uncheckedTitles().isEmpty());
        QCOMPARE(gamma->text().color(), QColor(Qt::black));
        QCOMPARE(picker.usedCurves(), f.curves);
        const QImage ownIcon = image(gamma->icon());
        f.plot->updateYAxisScale();
        const double yMax = f.plot->axisScaleDiv(QwtPlot::yLeft).interval().maxValue();
        QVERIFY(yMax >= 100.0);

        f.legend->setCheckBoxChecked("Gamma", false);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0), QVariantList({"Gamma", false}));
        QCOMPARE(gamma->text().color(), QColor(Qt::darkGray));
        QCOMPARE(image(gamma->icon()), image(f.legend->resetIcons().value(QwtSymbol::UTriangle)));
        QCOMPARE(f.legend->uncheckedItems(), QStringList{"Gamma"});
        QVERIFY(!f.curves.at(1)->isVisible());
        QVERIFY(f.plot->axisScaleDiv(QwtPlot::yLeft).interval().maxValue() < yMax);
        QCOMPARE(picker.usedCurves(), (QList<PriceBased2dPlotCurve*>{f.curves.at(0), f.curves.at(2)}));

        // Already unticked: nothing fires, but a forgotten title is listed again, once.
        f.legend->setUncheckedItems({});
        f.legend->setCheckBoxChecked("Gamma", false);
        f.legend->setCheckBoxChecked("Gamma", false);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(f.legend->uncheckedItems(), QStringList{"Gamma"});

        f.legend->setCheckBoxChecked("Gamma", true);
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.at(1), QVariantList({"Gamma", true}));
        QCOMPARE(gamma->text().color(), QColor(Qt::black));
        QCOMPARE(image(gamma->icon()), ownIcon);
        QVERIFY(f.legend->uncheckedItems().isEmpty());
        QVERIFY(f.curves.at(1)->isVisible());

        // No reset icon for ellipses: the row keeps its own.
        const QImage vegaIcon = image(f.label("Vega")->icon());
        f.legend->setCheckBoxChecked("Vega", false);
        QCOMPARE(image(f.label("Vega")->icon()), vegaIcon);
    }

    void mouseClicksToggleRows()
    {
        LegendFixture f;
        QVERIFY(QTest::qWaitForWindowExposed(f.plot.get()));
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        QwtLegendLabel* label = f.label("Delta");
        QCheckBox* box = f.box("Delta");

        QTest::mouseClick(label, Qt::RightButton, {}, label->rect().center());
        QCOMPARE(spy.count(), 0);
        QTest::mouseClick(label, Qt::LeftButton, {}, label->rect().center());
        QCOMPARE(spy.count(), 1);
        QCOMPARE(f.uncheckedTitles(), QStringList{"Delta"});

        QStyleOptionButton option;
        option.initFrom(box);
        const QRect indicator = box->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, box);
        QTest::mouseClick(box, Qt::LeftButton, {}, indicator.center());
        QCOMPARE(spy.count(), 2);
        QVERIFY(f.uncheckedTitles().isEmpty());
    }

    void deletedRowsAreForgotten()
    {
        LegendFixture f;
        delete f.curves.takeAt(1);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        f.addCurve("Rho", 12, QwtSymbol::Rect, 2.0);
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        bool found = true;
        QVERIFY(f.legend->isCheckBoxChecked("Gamma", &found));
        QVERIFY(!found);
        f.legend->setCheckBoxChecked("Rho", false);
        f.legend->setCheckBoxChecked("Delta", false);
        QCOMPARE(spy.count(), 2);
        QCOMPARE(f.uncheckedTitles(), (QStringList{"Delta", "Rho"}));
    }

    void markerCurveTakesTheMarkersStyle()
    {
        LegendFixture f;
        f.addCurve("Markers", 13, QwtSymbol::UTriangle, 2.0); // its own symbol does not count
        f.legend->setCheckBoxChecked("Markers", false);
        QCOMPARE(image(f.label("Markers")->icon()), image(f.legend->resetIcons().value(QwtSymbol::Rect)));
        auto* marker = new QwtPlotMarker;
        marker->setSymbol(new QwtSymbol(QwtSymbol::DTriangle));
        marker->attach(f.plot.get());
        QCOMPARE(f.legend->getStyle(f.curves.last()), int(QwtSymbol::DTriangle));
        QCOMPARE(f.legend->getStyle(nullptr), -1);
    }

    void wheelStaysInLegend()
    {
        LegendFixture f;
        const QwtInterval before = f.plot->axisScaleDiv(QwtPlot::xBottom).interval();
        // Accepted means the wheel goes no further up to the plot, whose wheel zooms.
        QWheelEvent wheel(QPointF(5, 5), f.legend->mapToGlobal(QPoint(5, 5)), QPoint(), QPoint(0, 120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(f.legend.data(), &wheel);
        QVERIFY(wheel.isAccepted());
        QCOMPARE(f.plot->axisScaleDiv(QwtPlot::xBottom).interval(), before);
    }

    void resetIconPixels_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<QPoint>("grey");
        QTest::addColumn<QPoint>("white");
        QTest::newRow("down triangle tip") << int(QwtSymbol::DTriangle) << QPoint(25, 11) << QPoint(20, 11);
        QTest::newRow("down triangle base") << int(QwtSymbol::DTriangle) << QPoint(22, 5) << QPoint(25, 1);
        QTest::newRow("up triangle tip") << int(QwtSymbol::UTriangle) << QPoint(25, 1) << QPoint(20, 1);
        QTest::newRow("up triangle base") << int(QwtSymbol::UTriangle) << QPoint(22, 8) << QPoint(25, 11);
        QTest::newRow("line centre") << int(QwtSymbol::Rect) << QPoint(25, 6) << QPoint(25, 2);
        QTest::newRow("line end") << int(QwtSymbol::Rect) << QPoint(48, 7) << QPoint(48, 10);
    }
    void resetIconPixels()
    {
        QFETCH(int, style);
        QFETCH(QPoint, grey);
        QFETCH(QPoint, white);
        LegendFixture f;
        QCOMPARE(f.legend->resetIcons().keys(),
                 (QList<int>{QwtSymbol::Rect, QwtSymbol::DTriangle, QwtSymbol::UTriangle}));
        const QImage icon = image(f.legend->resetIcons().value(style));
        QCOMPARE(icon.size(), QSize(50, 13));
        QCOMPARE(QColor(icon.pixel(grey)), QColor(Qt::gray));
        QCOMPARE(QColor(icon.pixel(white)), QColor(Qt::white));
        QCOMPARE(QColor(icon.pixel(0, 0)), QColor(Qt::white));
        QCOMPARE(QColor(icon.pixel(49, 12)), QColor(Qt::white));
    }

    void storeWritesOneRecordPerCurve()
    {
        LegendFixture f;
        f.legend->setCheckBoxChecked("Gamma", false);
        Settings settings;
        f.legend->store(settings);
        QCOMPARE(settings.value("legendItemKeys").toByteArray(),
                 QByteArray::fromHex("00000001 00000005 00000003 0101 00000009 0100 0000000a 0101 0000000b"));
    }

    void restoreAppliesValidRecords_data()
    {
        QTest::addColumn<QByteArray>("saved");
        QTest::addColumn<QStringList>("unticked");
        const auto row = [](const char* name, const char* hex, const QStringList& unticked) {
            QTest::newRow(name) << QByteArray::fromHex(hex) << unticked;
        };
        row("hide", "00000001 00000005 00000001 0100 0000000a", {"Gamma"});
        row("show a shown row", "00000001 00000005 00000001 0101 0000000a", {});
        row("empty", "", {});
        row("wrong mark", "00000002 00000005 00000001 0100 0000000a", {});
        row("format 4", "00000001 00000004 00000001 0100 0000000a", {});
        row("count 0", "00000001 00000005 00000000 0100 0000000a", {});
        row("truncated header", "00000001 00000005 0000", {});
        row("first of a type wins", "00000001 00000005 00000002 0101 0000000a 0100 0000000a", {});
        row("invalid skipped", "00000001 00000005 00000002 0001 0000000a 0100 0000000a", {"Gamma"});
        row("unknown type", "00000001 00000005 00000001 0100 0000000c", {});
        row("truncated record", "00000001 00000005 00000002 0100 00000009 0100 00", {"Delta"});
    }
    void restoreAppliesValidRecords()
    {
        QFETCH(QByteArray, saved);
        QFETCH(QStringList, unticked);
        LegendFixture f;
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        Settings settings;
        settings.setValue("legendItemKeys", saved);
        f.legend->restore(settings);
        QCOMPARE(f.uncheckedTitles(), unticked);
        QCOMPARE(spy.count(), unticked.size());
    }

    void restoreSkipsSharedTypesAndSettledRows()
    {
        LegendFixture f;
        f.addCurve("Theta", 10, QwtSymbol::Rect, 3.0); // Gamma's type is now ambiguous
        f.plot->updateLegend();
        f.legend->setCheckBoxChecked("Vega", false);
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        Settings settings;
        settings.setValue("legendItemKeys",
                          QByteArray::fromHex("00000001 00000005 00000002 0100 0000000a 0100 0000000b"));
        f.legend->restore(settings);
        QCOMPARE(f.uncheckedTitles(), QStringList{"Vega"});
        QCOMPARE(spy.count(), 0);
    }

    void restoreAcrossPlotsThroughIniFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("legend.ini");
        {
            LegendFixture f;
            f.legend->setCheckBoxChecked("Vega", false);
            Settings settings(path);
            f.legend->store(settings);
            settings.sync();
        }
        LegendFixture f;
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        f.legend->restore(Settings(path));
        QCOMPARE(f.uncheckedTitles(), QStringList{"Vega"});
        QCOMPARE(spy.count(), 1);
        QVERIFY(!f.curves.at(2)->isVisible());
    }

private:
    QTemporaryDir m_dir;
};

PLOT2D_TEST_MAIN(TestLegend)
#include "tst_legend.moc"
