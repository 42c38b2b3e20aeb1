#include "black76.h"

#include "testsupport.h"

using Black76::OptionType;

class TestBlack76 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchesTextbookValues_data();
    void matchesTextbookValues();
    void keepsPutCallParity();
    void expiredOptionsAreWorthTheirIntrinsicValue();
    void thetaIsTheValueLostAsTimePasses();
};

void TestBlack76::matchesTextbookValues_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<double>("futures");
    QTest::addColumn<double>("strike");
    QTest::addColumn<double>("years");
    QTest::addColumn<double>("volatility");
    QTest::addColumn<double>("rate");
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("delta");

    // Hull, futures options: F = K = 20, r = 9 %, four months, 25 % volatility: put 1.12.
    QTest::newRow("hull put") << int(OptionType::Put) << 20.0 << 20.0 << 4.0 / 12 << 0.25 << 0.09 << 1.1166
                              << -0.4573;
    // At the money, no discounting: c = F (2 N(sigma / 2) - 1).
    QTest::newRow("atm call") << int(OptionType::Call) << 100.0 << 100.0 << 1.0 << 0.2 << 0.0 << 7.9656
                              << 0.5398;
}

void TestBlack76::matchesTextbookValues()
{
    QFETCH(int, type);
    QFETCH(double, futures);
    QFETCH(double, strike);
    QFETCH(double, years);
    QFETCH(double, volatility);
    QFETCH(double, rate);
    QFETCH(double, price);
    QFETCH(double, delta);

    const Black76::Inputs in{OptionType(type), futures, strike, years, volatility, rate};
    QVERIFY2(qAbs(Black76::price(in) - price) < 5e-4,
             qPrintable(QString::number(Black76::price(in), 'f', 6)));
    QVERIFY2(qAbs(Black76::delta(in) - delta) < 5e-4,
             qPrintable(QString::number(Black76::delta(in), 'f', 6)));
}

void TestBlack76::keepsPutCallParity()
{
    // c - p = exp(-rT) (F - K), and the greeks of a call and a put differ only in delta.
    for (double futures : {60.0, 74.35, 90.0}) {
        const Black76::Inputs call{OptionType::Call, futures, 75.0, 0.2, 0.35, 0.04};
        Black76::Inputs put = call;
        put.type = OptionType::Put;
        const double discount = std::exp(-0.04 * 0.2);
        QVERIFY(qAbs(Black76::price(call) - Black76::price(put) - discount * (futures - 75.0)) < 1e-9);
        QVERIFY(qAbs(Black76::delta(call) - Black76::delta(put) - discount) < 1e-9);
        QCOMPARE(Black76::gamma(call), Black76::gamma(put));
        QCOMPARE(Black76::vega(call), Black76::vega(put));
    }
    // Vega of the at-the-money textbook case: F phi(d1) sqrt(T).
    const Black76::Inputs atm{OptionType::Call, 100.0, 100.0, 1.0, 0.2, 0.0};
    QVERIFY(qAbs(Black76::vega(atm) - 39.6953) < 1e-3);
}

void TestBlack76::expiredOptionsAreWorthTheirIntrinsicValue()
{
    const Black76::Inputs call{OptionType::Call, 80.0, 75.0, 0.0, 0.3, 0.05};
    Black76::Inputs put = call;
    put.type = OptionType::Put;
    QCOMPARE(Black76::price(call), 5.0);
    QCOMPARE(Black76::price(put), 0.0);
    QCOMPARE(Black76::delta(call), 1.0);
    QCOMPARE(Black76::delta(put), 0.0);
    QCOMPARE(Black76::gamma(call), 0.0);
}

void TestBlack76::thetaIsTheValueLostAsTimePasses()
{
    // Against a central difference of the price over the time left, with discounting on.
    for (OptionType type : {OptionType::Call, OptionType::Put}) {
        for (double futures : {60.0, 75.0, 90.0}) {
            Black76::Inputs in{type, futures, 75.0, 0.2, 0.35, 0.04};
            const double h = 1e-5;
            Black76::Inputs later = in;
            later.years -= h;
            Black76::Inputs earlier = in;
            earlier.years += h;
            const double expected = (Black76::price(later) - Black76::price(earlier)) / (2.0 * h);
            QVERIFY2(qAbs(Black76::theta(in) - expected) < 1e-5,
                     qPrintable(QString::number(Black76::theta(in))));
            QVERIFY(Black76::theta(in) < 0.0);
        }
    }
    const Black76::Inputs expired{OptionType::Call, 80.0, 75.0, 0.0, 0.3, 0.05};
    QCOMPARE(Black76::theta(expired), 0.0);
}

PLOT2D_TEST_MAIN(TestBlack76)
#include "tst_black76.moc"
