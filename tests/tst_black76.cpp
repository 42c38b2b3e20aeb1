#include "black76.h"

#include "testsupport.h"

using Black76::Inputs;
using Black76::OptionType;

Q_DECLARE_METATYPE(Black76::Inputs)

class TestBlack76 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchesTextbookValues_data()
    {
        // Price, delta, gamma, vega and theta.
        TestSupport::columns<Inputs, QVector<double>>({"in", "expected"});
        // Hull, futures options: F = K = 20, r = 9 %, four months, 25 % volatility: put 1.12.
        QTest::newRow("hull put") << Inputs{OptionType::Put, 20.0, 20.0, 4.0 / 12, 0.25, 0.09}
                                  << QVector<double>{1.1166, -0.4573, 0.1338, 4.4588, -1.5716};
        // At the money, no discounting: c = F (2 N(sigma / 2) - 1), vega = F phi(d1) sqrt(T).
        QTest::newRow("atm call") << Inputs{OptionType::Call, 100.0, 100.0, 1.0, 0.2, 0.0}
                                  << QVector<double>{7.9656, 0.5398, 0.0198, 39.6953, -3.9695};
        // Expired: the intrinsic value, a step for delta and nothing left for the other greeks.
        QTest::newRow("expired call") << Inputs{OptionType::Call, 80.0, 75.0, 0.0, 0.3, 0.05}
                                      << QVector<double>{5.0, 1.0, 0.0, 0.0, 0.0};
        QTest::newRow("expired put") << Inputs{OptionType::Put, 80.0, 75.0, 0.0, 0.3, 0.05}
                                     << QVector<double>{0.0, 0.0, 0.0, 0.0, 0.0};
    }

    void matchesTextbookValues()
    {
        const auto [in, expected] = TestSupport::fetch<Inputs, QVector<double>>({"in", "expected"});
        const QVector<double> values{Black76::price(in), Black76::delta(in), Black76::gamma(in),
                                     Black76::vega(in), Black76::theta(in)};
        for (int i = 0; i < values.size(); ++i)
            QVERIFY2(qAbs(values.at(i) - expected.at(i)) < 5e-4,
                     qPrintable(QString::number(values.at(i), 'f', 6)));
    }

    void putsAndCallsKeepParityAndLoseValueWithTime()
    {
        // c - p = exp(-rT) (F - K), the greeks of a call and a put differ only in delta, and theta is a
        // central difference of the price over the time left.
        const double discount = std::exp(-0.04 * 0.2);
        for (double futures : {60.0, 74.35, 90.0}) {
            const Inputs call{OptionType::Call, futures, 75.0, 0.2, 0.35, 0.04};
            Inputs put = call;
            put.type = OptionType::Put;
            QVERIFY(qAbs(Black76::price(call) - Black76::price(put) - discount * (futures - 75.0)) < 1e-9);
            QVERIFY(qAbs(Black76::delta(call) - Black76::delta(put) - discount) < 1e-9);
            QCOMPARE(Black76::gamma(call), Black76::gamma(put));
            QCOMPARE(Black76::vega(call), Black76::vega(put));
            for (Inputs in : {call, put}) {
                const double theta = Black76::theta(in);
                in.years -= 1e-5;
                const double later = Black76::price(in);
                in.years += 2e-5;
                QVERIFY2(qAbs(theta - (later - Black76::price(in)) / 2e-5) < 1e-5,
                         qPrintable(QString::number(theta)));
            }
        }
    }
};

PLOT2D_TEST_MAIN(TestBlack76)
#include "tst_black76.moc"
