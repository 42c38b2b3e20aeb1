#include "testsupport.h"

#include <plot2d/pricebased2dplotconverter.h>

#include <cmath>
#include <limits>

namespace {

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

const double NaN = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();

} // namespace

class TestConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formatsValues_data();
    void formatsValues();
    void conversionObjectIsOwned();
    void conversionThroughObject_data();
    void conversionThroughObject();
};

void TestConverter::formatsValues_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("precision");
    QTest::addColumn<QString>("unit");
    QTest::addColumn<bool>("plus");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << 12.5 << 10 << QString() << false << "12.5";
    QTest::newRow("unit follows directly") << 12.5 << 10 << "%" << false << "12.5%";
    QTest::newRow("plus sign") << 3.0 << 10 << QString() << true << "+3";
    QTest::newRow("plus before unit") << 3.0 << 10 << "%" << true << "+3%";
    QTest::newRow("no plus for zero") << 0.0 << 10 << QString() << true << "0";
    QTest::newRow("no plus for negative") << -3.0 << 10 << QString() << true << "-3";
    QTest::newRow("precision") << 1.23456 << 2 << QString() << false << "1.23";
    QTest::newRow("NaN") << NaN << 10 << "%" << true << "";
    QTest::newRow("infinity") << Inf << 10 << "%" << true << "";
    QTest::newRow("minus infinity") << -Inf << 10 << QString() << false << "";
}

void TestConverter::formatsValues()
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

void TestConverter::conversionObjectIsOwned()
{
    int firstDestroyed = 0;
    int secondDestroyed = 0;
    {
        PriceBased2dPlotConverter converter;
        auto* first = new Scaling(2.0, &firstDestroyed);
        converter.setConvertionObject(first);
        QCOMPARE(converter.conversionObject(), first);
        QCOMPARE(firstDestroyed, 0);

        auto* second = new Scaling(3.0, &secondDestroyed);
        converter.setConvertionObject(second);
        QCOMPARE(firstDestroyed, 1);
        QCOMPARE(secondDestroyed, 0);
        QCOMPARE(converter.conversionObject(), second);

        converter.setConvertionObject(nullptr);
        QCOMPARE(secondDestroyed, 1);
        QCOMPARE(converter.conversionObject(), nullptr);

        converter.setConvertionObject(new Scaling(4.0, &secondDestroyed));
    }
    // The converter frees its last object, and nothing twice.
    QCOMPARE(firstDestroyed, 1);
    QCOMPARE(secondDestroyed, 2);
}

void TestConverter::conversionThroughObject_data()
{
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("withObject");
    QTest::addColumn<bool>("offset");
    QTest::addColumn<double>("factor");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("disabled ignores object") << false << true << false << 2.0 << 5.0 << "5";
    QTest::newRow("scaled") << true << true << false << 2.0 << 5.0 << "10";
    QTest::newRow("enabled without object") << true << false << false << 2.0 << 5.0 << "";
    QTest::newRow("NaN result") << true << true << false << NaN << 5.0 << "";
    QTest::newRow("infinite result") << true << true << false << Inf << 5.0 << "";
    QTest::newRow("virtual method") << true << true << true << 2.0 << 5.0 << "+105";
    QTest::newRow("sign follows converted value") << true << true << false << -1.0 << 5.0 << "-5";
}

void TestConverter::conversionThroughObject()
{
    QFETCH(bool, enabled);
    QFETCH(bool, withObject);
    QFETCH(bool, offset);
    QFETCH(double, factor);
    QFETCH(double, value);
    QFETCH(QString, expected);

    int destroyed = 0;
    PriceBased2dPlotConverter converter;
    converter.setConversionEnabled(enabled);
    converter.setConversionMethod(applyMethod());
    converter.setShowPositiveSign(offset);
    if (withObject)
        converter.setConvertionObject(offset ? new Offset(factor, &destroyed)
                                             : new Scaling(factor, &destroyed));
    QCOMPARE(converter.convertedValue(value), expected);
}

PLOT2D_TEST_MAIN(TestConverter)

#include "tst_converter.moc"
