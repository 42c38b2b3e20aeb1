#include "testsupport.h"

#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotconverter.h>

#include <qwt_interval.h>
#include <qwt_scale_div.h>

#include <QProcess>

#include <cmath>
#include <cstring>
#include <limits>

using namespace Plot2dCommon;

namespace {

// Run as a child in another locale: prints the texts that the parent compares.
const char* const LocaleChildArgument = "--print-system-short";

int printSystemShort()
{
    const QStringList texts = {fromDoubleToSystemStringShort(1234.5, 4),
                               fromDoubleToSystemStringShort(1200, 0),
                               fromDoubleToSystemStringShort(-0.0001, 2)};
    printf("%s\n", texts.join(QLatin1Char('|')).toUtf8().constData());
    return 0;
}

// Counts destructions so ownership can be checked without touching freed memory.
class Scaling : public PriceBased2dPlotConverter::Conversion
{
public:
    Scaling(double factor, int* destroyed) : m_factor(factor), m_destroyed(destroyed) {}
    ~Scaling() override { ++*m_destroyed; }
    virtual double apply(double value) { return value * m_factor; }

private:
    double m_factor;
    int* m_destroyed;
};

// Overrides the method named by the member pointer: the call must go through the object.
class Offset : public Scaling
{
public:
    using Scaling::Scaling;
    double apply(double value) override { return value + 100.0; }
};

PriceBased2dPlotConverter::ConversionMethod applyMethod()
{
    return static_cast<PriceBased2dPlotConverter::ConversionMethod>(&Scaling::apply);
}

const double Inf = std::numeric_limits<double>::infinity();
const double NaN = std::numeric_limits<double>::quiet_NaN();

} // namespace

class TestPlot2dCommon : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void systemStringShortInCLocale_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("expected");
        QTest::newRow("trailing zeros") << 1.2500 << 4 << "1.25";
        // The tests run with LC_ALL=C.UTF-8, for which Qt groups thousands with ','.
        QTest::newRow("integer zeros kept") << 1200.0 << 0 << "1,200";
        QTest::newRow("negative zero keeps sign") << -0.0001 << 2 << "-0";
        QTest::newRow("places capped at 10") << 0.123456789012345 << 15 << "0.123456789";
        QTest::newRow("negative places mean 0") << 2.7 << -3 << "3";
        QTest::newRow("rounds at places") << 1.23456 << 3 << "1.235";
    }

    void systemStringShortInCLocale()
    {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(QString, expected);
        QCOMPARE(fromDoubleToSystemStringShort(value, decimals), expected);
    }

    void systemStringShortWithCommaPoint()
    {
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("de_DE.UTF-8"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("de_DE.UTF-8"));
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(LocaleChildArgument)});
        QVERIFY(child.waitForFinished(60000));
        QCOMPARE(child.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()).trimmed(),
                 QStringLiteral("1.234,5|1.200|-0"));
    }

    void roundValueRounds_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<double>("expected");
        QTest::newRow("half up") << 2.5 << 0 << 3.0;
        QTest::newRow("negative half up") << -2.5 << 0 << -2.0;
        QTest::newRow("1.005 in doubles") << 1.005 << 2 << 1.0;
        QTest::newRow("hundreds") << 1234.0 << -2 << 1200.0;
        QTest::newRow("decimals clamped to 10") << 0.123456789012 << 40 << 0.1234567890;
        QTest::newRow("infinite input") << Inf << 2 << Inf;
        QTest::newRow("beyond 64 bits") << 1e22 << 2 << 1e22;
    }

    void roundValueRounds()
    {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(double, expected);
        QCOMPARE(roundValue(value, decimals), expected);
    }

    void formattedValueTrims_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("expected");
        QTest::newRow("trailing zeros") << 1.25 << 4 << "1.25";
        QTest::newRow("negative zero repaired") << -0.0004 << 2 << "0";
        QTest::newRow("negative zero without point kept") << -0.4 << 0 << "-0";
        QTest::newRow("places capped") << 2.5 << 12 << "2.5";
        QTest::newRow("negative decimals") << 5.0 << -1 << "";
        QTest::newRow("NaN untouched") << NaN << 2 << "nan";
    }

    void formattedValueTrims()
    {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(QString, expected);
        QCOMPARE(formattedValue(value, decimals), expected);
    }

    void fuzzyComparisons_data()
    {
        QTest::addColumn<double>("a");
        QTest::addColumn<double>("b");
        QTest::addColumn<bool>("scaleDrawEqual");
        QTest::addColumn<bool>("relativeEqual");
        QTest::newRow("zeros") << 0.0 << 0.0 << true << true;
        QTest::newRow("1e-9 apart") << 1.0 << 1.000000001 << true << false;
        QTest::newRow("2e-8 apart") << 1.0 << 1.00000002 << false << false;
        QTest::newRow("1e-13 apart") << 1.0 << 1.0 + 1e-13 << true << true;
        QTest::newRow("NaN") << NaN << 1.0 << false << false;
    }

    void fuzzyComparisons()
    {
        QFETCH(double, a);
        QFETCH(double, b);
        QFETCH(bool, scaleDrawEqual);
        QFETCH(bool, relativeEqual);
        QCOMPARE(scaleDrawFuzzyCompare(a, b), scaleDrawEqual);
        QCOMPARE(scaleDrawFuzzyCompare(b, a), scaleDrawEqual);
        QCOMPARE(fuzzyEqual(a, b), relativeEqual);
        QCOMPARE(fuzzyEqual(b, a), relativeEqual);
    }

    void intervalsAndDivisions()
    {
        QCOMPARE(roundHalfUp64(2.5), Q_INT64_C(3));
        QCOMPARE(roundHalfUp64(-2.5), Q_INT64_C(-2));
        QCOMPARE(roundHalfUp(-0.5), 0);
        QCOMPARE(roundHalfUp(1e9 + 0.5), 1000000001);
        QCOMPARE(roundHalfUp64(1e300), std::numeric_limits<qint64>::max());
        QCOMPARE(roundHalfUp64(-1e300), std::numeric_limits<qint64>::min());
        QVERIFY(isNearZero(-1e-12));
        QVERIFY(!isNearZero(2e-12));

        QVERIFY(isValidInterval(QwtInterval(1.0, 1.0)));
        QVERIFY(!isValidInterval(QwtInterval(1.0, 1.0, QwtInterval::ExcludeMinimum)));
        QVERIFY(!isValidInterval(QwtInterval(2.0, 1.0)));

        QVERIFY(!isUsableScaleDiv(QwtScaleDiv()));
        QVERIFY(!isUsableScaleDiv(QwtScaleDiv(5.0, 5.0)));
    }

    void formatsValues_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("precision");
        QTest::addColumn<QString>("unit");
        QTest::addColumn<bool>("plus");
        QTest::addColumn<QString>("expected");
        QTest::newRow("plain") << 12.5 << 10 << QString() << false << "12.5";
        QTest::newRow("plus before unit") << 3.0 << 10 << "%" << true << "+3%";
        QTest::newRow("no plus for zero") << 0.0 << 10 << QString() << true << "0";
        QTest::newRow("precision") << 1.23456 << 2 << QString() << false << "1.23";
        QTest::newRow("NaN") << NaN << 10 << "%" << true << "";
        QTest::newRow("minus infinity") << -Inf << 10 << QString() << false << "";
    }

    void formatsValues()
    {
        QFETCH(double, value);
        QFETCH(int, precision);
        QFETCH(QString, unit);
        QFETCH(bool, plus);
        QFETCH(QString, expected);

        PriceBased2dPlotConverter converter;
        converter.setPrecision(precision);
        converter.setMetricUnit(unit);
        converter.setShowPositiveSign(plus);
        QCOMPARE(converter.convertedValue(value), expected);
    }

    void conversionObjectIsOwned()
    {
        int first = 0, second = 0;
        const auto destroyed = [&] { return QList<int>{first, second}; };
        {
            PriceBased2dPlotConverter converter;
            converter.setConvertionObject(new Scaling(2.0, &first));
            QCOMPARE(first, 0);
            converter.setConvertionObject(new Scaling(3.0, &second));
            QCOMPARE(destroyed(), (QList<int>{1, 0}));
            converter.setConvertionObject(nullptr);
            QCOMPARE(destroyed(), (QList<int>{1, 1}));
            QCOMPARE(converter.conversionObject(), nullptr);
            converter.setConvertionObject(new Scaling(4.0, &second));
        }
        // The converter frees its last object, and nothing twice.
        QCOMPARE(destroyed(), (QList<int>{1, 2}));
    }

    void conversionThroughObject_data()
    {
        QTest::addColumn<bool>("withObject");
        QTest::addColumn<bool>("offset");
        QTest::addColumn<double>("factor");
        QTest::addColumn<QString>("expected"); // of 5
        QTest::newRow("scaled") << true << false << 2.0 << "10";
        QTest::newRow("enabled without object") << false << false << 2.0 << "";
        QTest::newRow("virtual method") << true << true << 2.0 << "+105";
        QTest::newRow("sign follows converted value") << true << false << -1.0 << "-5";
    }

    void conversionThroughObject()
    {
        QFETCH(bool, withObject);
        QFETCH(bool, offset);
        QFETCH(double, factor);
        QFETCH(QString, expected);
        int destroyed = 0;
        PriceBased2dPlotConverter converter;
        converter.setConversionEnabled(true);
        converter.setConversionMethod(applyMethod());
        converter.setShowPositiveSign(offset);
        if (withObject)
            converter.setConvertionObject(offset ? new Offset(factor, &destroyed)
                                                 : new Scaling(factor, &destroyed));
        QCOMPARE(converter.convertedValue(5.0), expected);
    }
};

int main(int argc, char* argv[])
{
    if (argc > 1 && std::strcmp(argv[1], LocaleChildArgument) == 0) {
        QCoreApplication app(argc, argv);
        return printSystemShort();
    }
    QApplication app(argc, argv);
    app.setAttribute(Qt::AA_Use96Dpi, true);
    TestSupport::initEnvironment();
    TestPlot2dCommon tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_plot2dcommon.moc"
