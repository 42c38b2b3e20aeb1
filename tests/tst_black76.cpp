#include "black76.h"

#include "testsupport.h"

using Black76::Inputs;
using Black76::OptionType;

Q_DECLARE_METATYPE(Black76::Inputs)

class TestBlack76 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pricesAndGreeksMatchReferenceValues_data()
    {
        // Price, delta, gamma, vega and theta.
        TestSupport::columns<Inputs, QVector<double>>({"in", "expected"});
        // Hull, futures options: F = K = 20, r = 9 %, four months, 25 % volatility: put 1.12.
        QTest::newRow("hull put") << Inputs{OptionType::Put, 20.0, 20.0, 4.0 / 12, 0.25, 0.09}
                                  << QVector<double>{1.1166, -0.4573, 0.1338, 4.4588, -1.5716};
        // At the money, no discounting: c = F (2 N(sigma / 2) - 1), vega = F phi(d1) sqrt(T).
        QTest::newRow("atm call") << Inputs{OptionType::Call, 100.0, 100.0, 1.0, 0.2, 0.0}
                                  << QVector<double>{7.9656, 0.5398, 0.0198, 39.6953, -3.9695};
        // Off the money with a rate, the moneyness and discounting that the rows above leave out: the
        // discounted payoff integrated over the lognormal futures price, the greeks by central differences.
        QTest::newRow("otm call") << Inputs{OptionType::Call, 60.0, 75.0, 0.2, 0.35, 0.04}
                                  << QVector<double>{0.3601, 0.0882, 0.0170, 4.2845, -3.7346};
        QTest::newRow("itm put") << Inputs{OptionType::Put, 60.0, 75.0, 0.2, 0.35, 0.04}
                                 << QVector<double>{15.2406, -0.9038, 0.0170, 4.2845, -3.1394};
        // Expired: the intrinsic value, a step for delta and nothing left for the other greeks.
        QTest::newRow("expired call") << Inputs{OptionType::Call, 80.0, 75.0, 0.0, 0.3, 0.05}
                                      << QVector<double>{5.0, 1.0, 0.0, 0.0, 0.0};
        QTest::newRow("expired put") << Inputs{OptionType::Put, 80.0, 75.0, 0.0, 0.3, 0.05}
                                     << QVector<double>{0.0, 0.0, 0.0, 0.0, 0.0};
    }

    void pricesAndGreeksMatchReferenceValues()
    {
        const auto [in, expected] = TestSupport::fetch<Inputs, QVector<double>>({"in", "expected"});
        const QVector<double> values{Black76::price(in), Black76::delta(in), Black76::gamma(in),
                                     Black76::vega(in), Black76::theta(in)};
        for (int i = 0; i < values.size(); ++i)
            QVERIFY2(qAbs(values.at(i) - expected.at(i)) < 5e-4,
                     qPrintable(QString::number(values.at(i), 'f', 6)));
    }
};

PLOT2D_TEST_MAIN(TestBlack76)
#include "tst_black76.moc"
