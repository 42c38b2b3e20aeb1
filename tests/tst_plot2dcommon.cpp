#include "testsupport.h"

#include <plot2d/plot2dcommon.h>
#include <plot2d/pricebased2dplotconverter.h>

#include <qwt_interval.h>
#include <qwt_scale_div.h>

#include <QProcess>

#include <limits>

using namespace Plot2dCommon;

namespace {

// Set in the child that runs the locale test in another locale.
const char* const LocaleChildVariable = "PLOT2D_LOCALE_CHILD";

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
    // Each formatter on its own edge cases: `round` is roundValue, `trim` formattedValue and
    // `system` fromDoubleToSystemStringShort (the tests run with LC_ALL=C.UTF-8, for which Qt groups
    // thousands with ',').
    void formattersRoundAndTrim_data()
    {
        TestSupport::columns<QString, double, int, QString>({"formatter", "value", "decimals", "expected"});
        const auto add = [](const char* tag, const char* formatter, double value, int decimals,
                            const char* expected) {
            QTest::newRow(tag) << formatter << value << decimals << expected;
        };
        add("round half up", "round", 2.5, 0, "3");
        add("round negative half up", "round", -2.5, 0, "-2");
        add("round 1.005 in doubles", "round", 1.005, 2, "1");
        add("round hundreds", "round", 1234.0, -2, "1200");
        add("round decimals clamped to 10", "round", 0.123456789012, 40, "0.123456789");
        add("round infinite input", "round", Inf, 2, "inf");
        add("round beyond 64 bits", "round", 1e22, 2, "1e+22");
        add("trim negative zero repaired", "trim", -0.0004, 2, "0");
        add("trim negative zero without point kept", "trim", -0.4, 0, "-0");
        add("trim places capped", "trim", 2.5, 12, "2.5");
        add("trim negative decimals", "trim", 5.0, -1, "");
        add("trim NaN untouched", "trim", NaN, 2, "nan");
        add("system integer zeros kept", "system", 1200.0, 0, "1,200");
        add("system negative zero keeps sign", "system", -0.0001, 2, "-0");
        add("system places capped at 10", "system", 0.123456789012345, 15, "0.123456789");
        add("system negative places mean 0", "system", 2.7, -3, "3");
        add("system rounds at places", "system", 1.23456, 3, "1.235");
    }

    void formattersRoundAndTrim()
    {
        const auto [formatter, value, decimals, expected] =
            TestSupport::fetch<QString, double, int, QString>({"formatter", "value", "decimals", "expected"});
        if (formatter == QLatin1String("round"))
            QCOMPARE(QString::number(roundValue(value, decimals), 'g', 15), expected);
        else if (formatter == QLatin1String("trim"))
            QCOMPARE(formattedValue(value, decimals), expected);
        else
            QCOMPARE(fromDoubleToSystemStringShort(value, decimals), expected);
    }

    // Qt reads the system locale once per process: this test runs itself again in German, where the
    // child reports its texts.
    void systemStringFollowsTheLocale()
    {
        if (qEnvironmentVariableIsSet(LocaleChildVariable)) {
            qInfo("texts %s|%s|%s", qUtf8Printable(fromDoubleToSystemStringShort(1234.5, 4)),
                  qUtf8Printable(fromDoubleToSystemStringShort(1200, 0)),
                  qUtf8Printable(fromDoubleToSystemStringShort(-0.0001, 2)));
            return;
        }
        QProcess child;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QString::fromLatin1(LocaleChildVariable), QStringLiteral("1"));
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("de_DE.UTF-8"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("de_DE.UTF-8"));
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("systemStringFollowsTheLocale")});
        QVERIFY(child.waitForFinished(60000));
        QCOMPARE(child.exitCode(), 0);
        const QString output = QString::fromUtf8(child.readAllStandardOutput());
        QVERIFY2(output.contains(QStringLiteral(" texts 1.234,5|1.200|-0\n")), qPrintable(output));
    }

    void fuzzyComparisonsKeepTheirTolerances_data()
    {
        TestSupport::columns<double, double, bool, bool>({"a", "b", "scaleDrawEqual", "relativeEqual"});
        QTest::newRow("zeros") << 0.0 << 0.0 << true << true;
        QTest::newRow("1e-9 apart") << 1.0 << 1.000000001 << true << false;
        QTest::newRow("2e-8 apart") << 1.0 << 1.00000002 << false << false;
        QTest::newRow("1e-13 apart") << 1.0 << 1.0 + 1e-13 << true << true;
        QTest::newRow("NaN") << NaN << 1.0 << false << false;
    }

    void fuzzyComparisonsKeepTheirTolerances()
    {
        const auto [a, b, scaleDrawEqual, relativeEqual] =
            TestSupport::fetch<double, double, bool, bool>({"a", "b", "scaleDrawEqual", "relativeEqual"});
        QCOMPARE(scaleDrawFuzzyCompare(a, b), scaleDrawEqual);
        QCOMPARE(scaleDrawFuzzyCompare(b, a), scaleDrawEqual);
        QCOMPARE(fuzzyEqual(a, b), relativeEqual);
        QCOMPARE(fuzzyEqual(b, a), relativeEqual);
    }

    void roundingSaturatesAndIntervalsNeedOrder()
    {
        QCOMPARE(roundHalfUp(-0.5), 0); // halves up, as roundValue's rows show
        QCOMPARE(roundHalfUp(1e9 + 0.5), 1000000001);
        QCOMPARE(roundHalfUp64(1e300), std::numeric_limits<qint64>::max());
        QCOMPARE(roundHalfUp64(-1e300), std::numeric_limits<qint64>::min());
        QVERIFY(isNearZero(-1e-12));
        QVERIFY(!isNearZero(2e-12));

        QVERIFY(isValidInterval(QwtInterval(1.0, 1.0)));
        QVERIFY(!isValidInterval(QwtInterval(1.0, 1.0, QwtInterval::ExcludeMinimum)));
        QVERIFY(!isValidInterval(QwtInterval(2.0, 1.0)));

        QVERIFY(!isUsableScaleDiv(QwtScaleDiv(5.0, 5.0)));
        QVERIFY(!isUsableScaleDiv(QwtScaleDiv(2.0, 1.0))); // an inverted division is not normalised
    }

    // `conversion` is empty (none), "enabled" (no object) or a scaling: "x2", "x-1".
    void converterAppliesConversionPrecisionUnitAndSign_data()
    {
        TestSupport::columns<QString, double, int, QString, bool, QString>(
            {"conversion", "value", "precision", "unit", "plus", "expected"});
        QTest::newRow("plain") << "" << 12.5 << 10 << QString() << false << "12.5";
        QTest::newRow("plus before unit") << "" << 3.0 << 10 << "%" << true << "+3%";
        QTest::newRow("no plus for zero") << "" << 0.0 << 10 << QString() << true << "0";
        QTest::newRow("precision") << "" << 1.23456 << 2 << QString() << false << "1.23";
        QTest::newRow("NaN") << "" << NaN << 10 << "%" << true << "";
        QTest::newRow("minus infinity") << "" << -Inf << 10 << QString() << false << "";
        QTest::newRow("scaled") << "x2" << 5.0 << 10 << QString() << false << "10";
        QTest::newRow("enabled without object") << "enabled" << 5.0 << 10 << QString() << false << "";
        QTest::newRow("sign follows converted value") << "x-1" << 5.0 << 10 << QString() << true << "-5";
    }
    void converterAppliesConversionPrecisionUnitAndSign()
    {
        const auto [conversion, value, precision, unit, plus, expected] =
            TestSupport::fetch<QString, double, int, QString, bool, QString>(
                {"conversion", "value", "precision", "unit", "plus", "expected"});
        int destroyed = 0;
        PriceBased2dPlotConverter converter;
        converter.setPrecision(precision);
        converter.setMetricUnit(unit);
        converter.setShowPositiveSign(plus);
        converter.setConversionEnabled(!conversion.isEmpty());
        converter.setConversionMethod(applyMethod());
        if (conversion.startsWith(QLatin1Char('x')))
            converter.setConvertionObject(new Scaling(conversion.mid(1).toDouble(), &destroyed));
        QCOMPARE(converter.convertedValue(value), expected);
    }

    void converterOwnsItsConversionObject()
    {
        int first = 0, second = 0;
        const auto destroyed = [&] { return QList<int>{first, second}; };
        {
            PriceBased2dPlotConverter converter;
            converter.setConvertionObject(new Scaling(2.0, &first));
            converter.setConvertionObject(new Scaling(3.0, &second));
            QCOMPARE(destroyed(), (QList<int>{1, 0}));
            converter.setConvertionObject(nullptr);
            QCOMPARE(destroyed(), (QList<int>{1, 1}));
            converter.setConvertionObject(new Scaling(4.0, &second));
        }
        // The converter frees its last object, and nothing twice.
        QCOMPARE(destroyed(), (QList<int>{1, 2}));
    }
};

PLOT2D_TEST_MAIN(TestPlot2dCommon)
#include "tst_plot2dcommon.moc"
