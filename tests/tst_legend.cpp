#include "testsupport.h"

#include <plot2d/pricebased2dplotlegend.h>

#include <qwt_dyngrid_layout.h>
#include <qwt_legend_label.h>
#include <qwt_plot_marker.h>

#include <QCheckBox>

#include <memory>

namespace {

// A shown plot with Delta (type 9, down triangles), Gamma (10, up triangles, the tallest) and Vega
// (11, ellipses) and the client's legend.
struct LegendFixture
{
    LegendFixture() : plot(new TestPlot(true))
    {
        addCurve("Delta", 9, QwtSymbol::DTriangle, 1.0);
        addCurve("Gamma", 10, QwtSymbol::UTriangle, 100.0);
        addCurve("Vega", 11, QwtSymbol::Ellipse, 5.0);
        legend = TestSupport::attachLegend(plot.get());
        plot->resize(640, 400);
        plot->show(); // not waited for: rows change before the first layout, too
    }
    void addCurve(const QString& title, int type, QwtSymbol::Style symbol, double top)
    {
        curves << TestSupport::validCurve(plot.get(), title, type,
                                          {{60.0, 0.0}, {75.0, top / 2}, {90.0, top}}, symbol);
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
    QImage icon(const QString& title) const { return label(title)->icon().toImage(); }
    QImage resetIcon(int style) const { return legend->resetIcons().value(style).toImage(); }

    std::unique_ptr<TestPlot> plot;
    QPointer<PriceBased2dPlotLegend> legend;
    QList<PriceBased2dPlotCurve*> curves;
};

} // namespace

class TestLegend : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(TestSupport::load(m_dir, TestSupport::futureRow())); }
    void cleanupTestCase() { TestSupport::clearData(); }

    void untickHidesCurveAndRetickRestores()
    {
        LegendFixture f;
        PriceBased2dPlotPicker picker(f.plot->canvas());
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        QwtLegendLabel* gamma = f.label("Gamma");
        const QImage ownIcon = f.icon("Gamma");
        f.legend->setCheckBoxChecked("Gamma", false);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0), QVariantList({"Gamma", false}));
        QCOMPARE(gamma->text().color(), QColor(Qt::darkGray));
        QCOMPARE(f.icon("Gamma"), f.resetIcon(QwtSymbol::UTriangle));
        QCOMPARE(f.legend->resetIcons().keys(),
                 (QList<int>{QwtSymbol::Rect, QwtSymbol::DTriangle, QwtSymbol::UTriangle}));
        QCOMPARE(gamma->icon().size(), QSize(50, 13));
        QCOMPARE(f.legend->uncheckedItems(), QStringList{"Gamma"});
        QVERIFY(!f.curves.at(1)->isVisible());
        QCOMPARE(picker.usedCurves(), (QList<PriceBased2dPlotCurve*>{f.curves.at(0), f.curves.at(2)}));

        // Already unticked: nothing fires, but a forgotten title is listed again, once.
        f.legend->setUncheckedItems({});
        f.legend->setCheckBoxChecked("Gamma", false);
        f.legend->setCheckBoxChecked("Gamma", false);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(f.legend->uncheckedItems(), QStringList{"Gamma"});

        f.legend->setCheckBoxChecked("Gamma", true);
        QCOMPARE(spy.at(1), QVariantList({"Gamma", true}));
        QCOMPARE(gamma->text().color(), QColor(Qt::black));
        QCOMPARE(f.icon("Gamma"), ownIcon);
        QVERIFY(f.legend->uncheckedItems().isEmpty());
        QVERIFY(f.curves.at(1)->isVisible());

        // No reset icon for ellipses: the row keeps its own.
        const QImage vegaIcon = f.icon("Vega");
        f.legend->setCheckBoxChecked("Vega", false);
        QCOMPARE(f.icon("Vega"), vegaIcon);
    }

    // A listener hears of the hide before the title is greyed; ticking the row again from there is
    // written first, and the hide's grey title last.
    void vetoedHideLeavesTheGreyTitle()
    {
        LegendFixture f;
        QwtLegendLabel* gamma = f.label("Gamma");
        QList<QColor> heard;
        connect(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged, this,
                [&](const QString& title, bool visible) {
                    heard << gamma->text().color();
                    if (!visible)
                        f.legend->setCheckBoxChecked(title, true);
                });
        f.legend->setCheckBoxChecked("Gamma", false);
        QCOMPARE(heard, (QList<QColor>{Qt::black, Qt::black}));
        QVERIFY(f.box("Gamma")->isChecked());
        QCOMPARE(gamma->text().color(), QColor(Qt::darkGray));
    }

    // Only the left, right and centre bits are replaced; left with centre is deliberate.
    void rowAlignmentKeepsItsOtherBits()
    {
        LegendFixture f;
        QLayoutItem* item = f.legend->dynLayout()->itemAt(0);
        item->setAlignment(Qt::AlignRight | Qt::AlignJustify | Qt::AlignAbsolute | Qt::AlignBottom);
        f.legend->updateDynLayoutItemAlignment(0);
        QCOMPARE(item->alignment(),
                 Qt::AlignLeft | Qt::AlignHCenter | Qt::AlignJustify | Qt::AlignAbsolute | Qt::AlignBottom);
    }

    void leftClickOnLabelTogglesRow()
    {
        LegendFixture f;
        QVERIFY(QTest::qWaitForWindowExposed(f.plot.get()));
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        QwtLegendLabel* label = f.label("Delta");

        QTest::mouseClick(label, Qt::RightButton, {}, label->rect().center());
        QCOMPARE(spy.count(), 0);
        QTest::mouseClick(label, Qt::LeftButton, {}, label->rect().center());
        QCOMPARE(spy.count(), 1);
        QCOMPARE(f.uncheckedTitles(), QStringList{"Delta"});
        QTest::mouseClick(label, Qt::LeftButton, {}, label->rect().center());
        QCOMPARE(spy.count(), 2);
        QVERIFY(f.uncheckedTitles().isEmpty());
    }

    void markerCurveTakesTheMarkersStyle()
    {
        LegendFixture f;
        f.addCurve("Markers", 13, QwtSymbol::UTriangle, 2.0); // its own symbol does not count
        f.legend->setCheckBoxChecked("Markers", false);
        QCOMPARE(f.icon("Markers"), f.resetIcon(QwtSymbol::Rect));
        auto* marker = new QwtPlotMarker;
        marker->setSymbol(new QwtSymbol(QwtSymbol::DTriangle));
        marker->attach(f.plot.get());
        QCOMPARE(f.legend->getStyle(f.curves.last()), int(QwtSymbol::DTriangle));
        QCOMPARE(f.legend->getStyle(nullptr), -1);
    }

    // Restoring this format is the restore table's business.
    void storeWritesOneRecordPerCurve()
    {
        LegendFixture f;
        f.legend->setCheckBoxChecked("Gamma", false);
        Settings settings;
        f.legend->store(settings);
        QCOMPARE(settings.value("legendItemKeys").toByteArray(),
                 QByteArray::fromHex("00000001 00000005 00000003 0101 00000009 0100 0000000a 0101 0000000b"));
    }

    void restoreAppliesOnlyValidRecords_data()
    {
        TestSupport::columns<QByteArray, QStringList>({"saved", "unticked"});
        const auto row = [](const char* name, const char* hex, const QStringList& unticked) {
            QTest::newRow(name) << QByteArray::fromHex(hex) << unticked;
        };
        row("hide", "00000001 00000005 00000001 0100 0000000a", {"Gamma"});
        row("empty", "", {});
        row("wrong mark", "00000002 00000005 00000001 0100 0000000a", {});
        row("count 0", "00000001 00000005 00000000 0100 0000000a", {});
        row("first of a type wins", "00000001 00000005 00000002 0101 0000000a 0100 0000000a", {});
        row("invalid skipped", "00000001 00000005 00000002 0001 0000000a 0100 0000000a", {"Gamma"});
        row("truncated record", "00000001 00000005 00000002 0100 00000009 0100 00", {"Delta"});
        // Found by fuzzing: a count far beyond the data kept restore looping for billions of records.
        row("huge count", "00000001 00000005 7fffffff 0100 00000009", {"Delta"});
        // Gamma's type is ambiguous once Theta shares it, and Vega is unticked already.
        row("shared type and settled row", "00000001 00000005 00000002 0100 0000000a 0100 0000000b",
            {"Vega"});
    }
    void restoreAppliesOnlyValidRecords()
    {
        const auto [saved, unticked] = TestSupport::fetch<QByteArray, QStringList>({"saved", "unticked"});
        LegendFixture f;
        const bool shared = unticked == QStringList{"Vega"};
        if (shared) {
            f.addCurve("Theta", 10, QwtSymbol::Rect, 3.0);
            f.plot->updateLegend();
            f.legend->setCheckBoxChecked("Vega", false);
        }
        QSignalSpy spy(f.legend.data(), &PriceBased2dPlotLegend::visibilityChanged);
        Settings settings;
        settings.setValue("legendItemKeys", saved);
        f.legend->restore(settings);
        QCOMPARE(f.uncheckedTitles(), unticked);
        QCOMPARE(spy.count(), shared ? 0 : unticked.size());
    }

private:
    QTemporaryDir m_dir;
};

PLOT2D_TEST_MAIN(TestLegend)
#include "tst_legend.moc"
