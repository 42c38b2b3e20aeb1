// Drives the real demo window on an Xvfb display with xdotool, and checks the desk by the state it
// dumps (--state-file) and by the pixels on the screen.
#include "screenpixels.h"
#include "testsupport.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <numeric>

namespace {

constexpr int TimeoutMs = 20000;
using State = QJsonObject;

// A value of the state by its path, "pnl/readout/price"; array elements by index, "pnl/x/0".
QJsonValue at(const State& state, const char* path)
{
    QJsonValue value = state;
    for (const QString& key : QString::fromLatin1(path).split(QLatin1Char('/')))
        value = value.isArray() ? value.toArray().at(key.toInt()) : value.toObject().value(key);
    return value;
}

// Numbers, some of them written as text.
double number(const State& state, const char* path)
{
    return at(state, path).toVariant().toDouble();
}

QStringList strings(const State& state, const char* path)
{
    return at(state, path).toVariant().toStringList();
}

QRect rect(const State& state, const char* path)
{
    const QJsonArray a = at(state, path).toArray();
    return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
}

double span(const State& state, const char* rangePath)
{
    const QJsonArray range = at(state, rangePath).toArray();
    return range.at(1).toDouble() - range.at(0).toDouble();
}

// The P&L readout is shown at the price a cursor at global x points at, from the screen columns of
// the price range's ends.
bool readoutAt(const State& state, int globalX)
{
    const double price = number(state, "pnl/x/0") + (globalX - number(state, "pnl/xPixels/0")) *
                                                        span(state, "pnl/x") / span(state, "pnl/xPixels");
    return at(state, "pnl/readout/active").toBool() && qAbs(number(state, "pnl/readout/price") - price) < 0.1;
}

bool linked(const State& state)
{
    return at(state, "pnl/x") == at(state, "greeks/x");
}

// True when there are at least `least` labels at one spacing but for at most `holes` single labels
// dropped (the quote label's neighbour may give way to it).
bool evenlySpaced(const QStringList& labels, int least, int holes)
{
    QList<double> gaps;
    for (int i = 1; i < labels.size(); ++i)
        gaps.append(labels.at(i).toDouble() - labels.at(i - 1).toDouble());
    const double step = gaps.isEmpty() ? 0.0 : *std::min_element(gaps.cbegin(), gaps.cend());
    const auto near = [](double a, double b) { return qAbs(a - b) < 1e-9; };
    return labels.size() >= least && step > 0.0 && std::all_of(gaps.cbegin(), gaps.cend(), [&](double gap) {
               return near(gap, step) || (near(gap, 2 * step) && holes-- > 0);
           });
}

// The mean column of the red pixels of `screen` inside `area`, or -1 when there are none.
int redColumn(const QImage& screen, const QRect& area)
{
    const QList<int> red = ScreenPixels::columns(screen, area, Qt::red, 60, 1);
    return red.isEmpty() ? -1 : std::accumulate(red.cbegin(), red.cend(), 0) / red.size();
}

} // namespace

class TestDemoXvfb : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QProcess m_xvfb; // killed after the desk when the test ends
    QProcess m_desk;
    QProcessEnvironment m_display;
    State m_state;
    State m_before;

    void startDesk()
    {
        QFile::remove(m_dir.filePath(QStringLiteral("state.json")));
        m_desk.setProcessEnvironment(m_display);
        m_desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_desk.setWorkingDirectory(m_dir.path());
        m_desk.start(
            QStringLiteral(PLOT2D_DEMO_EXECUTABLE),
            QStringLiteral("--settings desk.ini --state-file state.json --seed 7").split(QLatin1Char(' ')));
        QVERIFY2(waitFor([this] { return !strings(m_state, "pnl/labels").isEmpty(); }),
                 "the desk never showed its price labels");
    }

    // Runs `program` on the display; false unless it ends well in time.
    bool run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.setProcessEnvironment(m_display);
        process.start(program, arguments);
        return process.waitForFinished(TimeoutMs) && process.exitStatus() == QProcess::NormalExit &&
               process.exitCode() == 0;
    }

    // One xdotool command line; arguments are separated by single blanks.
    bool xdotool(const QString& command)
    {
        return run(QStringLiteral("xdotool"), command.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }

    // Moves the pointer to `global`, then does `action` there ("click 4" wheels in).
    bool mouse(const QPoint& global, const char* action = "")
    {
        return xdotool(
            QStringLiteral("mousemove %1 %2 %3").arg(global.x()).arg(global.y()).arg(QLatin1String(action)));
    }

    bool drag(const QPoint& from, const QPoint& by)
    {
        bool ok = mouse(from, "mousedown 1");
        for (int step = 1; step <= 4; ++step)
            ok = ok && mouse(from + by * step / 4);
        return xdotool(QStringLiteral("mouseup 1")) && ok;
    }

    QImage grabScreen()
    {
        const QString file = m_dir.filePath(QStringLiteral("screen.png"));
        return run(QStringLiteral(PLOT2D_SCREENGRAB), {file}) ? QImage(file) : QImage();
    }

    // Polls the desk's state into m_state, keeping the one before in m_before, until `ready` holds
    // and the desk has come to rest (the state unchanged over a few polls), so that the next gesture
    // is compared with where this one ended; false (and the state logged) after the timeout.
    bool waitFor(const std::function<bool()>& ready)
    {
        m_before = m_state;
        QElapsedTimer timer;
        timer.start();
        for (int still = 0; still < 4; QTest::qWait(50)) {
            QFile file(m_dir.filePath(QStringLiteral("state.json")));
            const State previous = std::exchange(
                m_state,
                file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : State());
            still = ready() && m_state == previous ? still + 1 : 0;
            if (timer.elapsed() > TimeoutMs || m_desk.state() == QProcess::NotRunning) {
                qWarning("last state: %s", QJsonDocument(m_state).toJson(QJsonDocument::Compact).constData());
                return false;
            }
        }
        return true;
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (xvfb.isEmpty())
            QSKIP("Xvfb is not installed");
        QVERIFY2(!QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty(),
                 "xdotool is missing (scripts/install-deps.sh installs it)");

        // Xvfb picks a free display and prints its number.
        m_xvfb.start(
            xvfb,
            QStringLiteral("-displayfd 1 -screen 0 1600x1000x24 -nolisten tcp").split(QLatin1Char(' ')));
        QTRY_VERIFY_WITH_TIMEOUT(m_xvfb.canReadLine(), TimeoutMs);
        m_display = QProcessEnvironment::systemEnvironment();
        m_display.remove(QStringLiteral("WAYLAND_DISPLAY"));
        m_display.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        m_display.insert(QStringLiteral("DISPLAY"),
                         QLatin1Char(':') + QString::fromLatin1(m_xvfb.readLine().trimmed()));
        startDesk();
    }

    void priceAxisKeepsLabelsAndQuoteLabelFollowsQuote()
    {
        // The live quote starts at 74.35 and moves every second; each price axis must repaint its red
        // label with every move, not only at the next zoom.
        QList<double> quotes{74.35};
        for (int moves = 0; moves < 3; ++moves) {
            QVERIFY(waitFor([&] {
                const double quote = number(m_state, "pnl/quote");
                return !quotes.contains(quote) && number(m_state, "paintedAxisQuote/pnl") == quote &&
                       number(m_state, "paintedAxisQuote/greeks") == quote;
            }));
            quotes.append(number(m_state, "pnl/quote"));
        }
        const QStringList labels = strings(m_state, "pnl/labels");
        QVERIFY2(evenlySpaced(labels, 7, 1), qPrintable(labels.join(QLatin1Char(' '))));
        QCOMPARE(at(m_state, "statusQuote").toString(),
                 QStringLiteral("Quote %1").arg(quotes.last(), 0, 'f', 2));

        // On the screen, the red axis label stands under the red quote line.
        const QImage screen = grabScreen();
        const QRect canvas = rect(m_state, "pnl/canvas");
        const int line = redColumn(screen, canvas.adjusted(0, canvas.height() / 2, 0, 0));
        const int label = redColumn(screen, rect(m_state, "pnl/xScale"));
        QVERIFY2(line > 0 && label > 0 && qAbs(line - label) <= 6,
                 qPrintable(QStringLiteral("line at %1, label at %2").arg(line).arg(label)));
    }

    void readoutFollowsCursorAndBothPriceAxesZoomAndPan()
    {
        const QRect canvas = rect(m_state, "pnl/canvas");
        for (double at : {0.3, 0.55, 0.8}) {
            const QPoint cursor(canvas.left() + int(at * canvas.width()), canvas.center().y());
            QVERIFY(mouse(cursor) && waitFor([&] { return readoutAt(m_state, cursor.x()); }));
            QCOMPARE(::at(m_state, "pnl/readout/values").toObject().keys().join(QLatin1Char(',')),
                     QStringLiteral("At expiry,Half time,Today"));
            QVERIFY(!::at(m_state, "greeks/readout/active").toBool());
        }
        // Wheel in over the P&L canvas: both price axes narrow, the readout follows the new prices.
        const auto narrower = [this] {
            return span(m_state, "pnl/x") < span(m_before, "pnl/x") && linked(m_state);
        };
        QVERIFY(mouse(canvas.center(), "click 4") &&
                waitFor([&] { return narrower() && readoutAt(m_state, canvas.center().x()); }));

        // Drag the greeks' canvas to the left: both plots pan to higher prices.
        const auto centre = [this](const char* path) { return rect(m_state, path).center(); };
        QVERIFY(drag(centre("greeks/canvas"), QPoint(-100, 0)) && waitFor([&] {
                    return number(m_state, "pnl/x/0") > number(m_before, "pnl/x/0") + 1.0 && linked(m_state);
                }));
        // Drag along the P&L price scale to the left: zoom in, labels kept; then wheel out over it.
        QVERIFY(drag(centre("pnl/xScale"), QPoint(-30, 0)) &&
                waitFor([&] { return narrower() && strings(m_state, "pnl/labels").size() >= 4; }));
        QVERIFY(mouse(centre("pnl/xScale"), "click 5") && waitFor([this] {
                    return span(m_state, "pnl/x") > span(m_before, "pnl/x") && linked(m_state);
                }));

        // Wheel over the greeks' value scale zooms that axis alone and ends its autoscale.
        QVERIFY(mouse(centre("greeks/yScale"), "click 4") && waitFor([this] {
                    return span(m_state, "greeks/y") < span(m_before, "greeks/y") &&
                           !at(m_state, "greeks/autoscale").toBool() &&
                           at(m_state, "pnl/x") == at(m_before, "pnl/x");
                }));
    }

    void hiddenQuoteKeepsEveryLabelThroughResize()
    {
        // A check box is given by its point on the screen.
        QVERIFY(mouse(rect(m_state, "pnl/legend/checkBoxes/Quote").topLeft(), "click 1"));
        QVERIFY(mouse(rect(m_state, "greeks/legend/checkBoxes/Delta").topLeft(), "click 1"));

        // With the quote line hidden no quote label competes for room: no label gives way, and the
        // axis shows no red.
        QVERIFY(waitFor([this] {
            return strings(m_state, "pnl/legend/unchecked") == QStringList{QStringLiteral("Quote")} &&
                   strings(m_state, "greeks/legend/unchecked") == QStringList{QStringLiteral("Delta")} &&
                   number(m_state, "paintedAxisQuote/pnl") == 0.0;
        }));
        const QStringList labels = strings(m_state, "pnl/labels");
        QVERIFY2(evenlySpaced(labels, 5, 0), qPrintable(labels.join(QLatin1Char(' '))));
        const QImage screen = grabScreen();
        QVERIFY2(!screen.isNull(), "no screen grab"); // an empty grab would show no red either
        QCOMPARE(redColumn(screen, rect(m_state, "pnl/xScale")), -1);

        // The greeks' readout lists the visible curves only.
        QVERIFY(mouse(rect(m_state, "greeks/canvas").center()) && waitFor([this] {
                    return at(m_state, "greeks/readout/values").toObject().keys().join(QLatin1Char(',')) ==
                           QLatin1String("Gamma,Theta,Vega");
                }));

        // A resize relayouts the labels at once: the first state the desk reports at the new size
        // already shows the labels of that size.
        const auto resizedTo = [this](int width, int height) {
            // "%1" is xdotool's: the window found.
            return xdotool(QStringLiteral("search --sync --name desk: windowsize %1 ") +
                           QString::number(width) + QLatin1Char(' ') + QString::number(height)) &&
                   waitFor([this, width] { return rect(m_state, "window").width() == width; });
        };
        QVERIFY(resizedTo(380, 280));
        const QStringList small = strings(m_state, "pnl/labels");
        QVERIFY2(small.size() >= 2 && small.size() < labels.size(), qPrintable(small.join(QLatin1Char(' '))));
        QVERIFY(resizedTo(1200, 700));
        QCOMPARE(strings(m_state, "pnl/labels"), labels);
    }

    void closeAndRestartRestoreTheDesk()
    {
        // Ctrl+Q closes the window as the user would; the restarted desk is the one that was left.
        const State left = m_state;
        QVERIFY(xdotool(QStringLiteral("search --sync --name desk: windowfocus --sync %1")));
        QVERIFY(xdotool(QStringLiteral("key ctrl+q")));
        QVERIFY(m_desk.waitForFinished(TimeoutMs));
        QCOMPARE(m_desk.exitCode(), 0);

        startDesk();
        QVERIFY(waitFor([&] {
            for (const char* path : {"pnl/legend/unchecked", "greeks/legend/unchecked", "pnl/x",
                                     "pnl/autoscale", "greeks/autoscale", "greeks/y"}) {
                if (at(m_state, path) != at(left, path))
                    return false;
            }
            return rect(m_state, "window").size() == rect(left, "window").size();
        }));

        // On the screen both canvases show their grid's major lines at the same columns: the panels
        // line up.
        const QImage screen = grabScreen();
        const auto gridColumns = [&](const char* canvas) {
            const QRect area = rect(m_state, canvas);
            return ScreenPixels::columns(screen, area, QColor(0xb2, 0xbe, 0xb5), 8, area.height() / 2 + 1);
        };
        QVERIFY(gridColumns("pnl/canvas").size() >= 5);
        QCOMPARE(gridColumns("greeks/canvas"), gridColumns("pnl/canvas"));
    }
};

PLOT2D_TEST_MAIN(TestDemoXvfb)
#include "tst_demo_xvfb.moc"
