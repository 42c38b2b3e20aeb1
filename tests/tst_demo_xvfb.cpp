// Drives the real demo window on an Xvfb display with xdotool, and checks the desk by the state it
// dumps (--state-file) and by the pixels on the screen.
#include "testsupport.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <functional>

namespace {

constexpr int TimeoutMs = 20000;
using State = QJsonObject;

// A value of the state by its path, "pnl/readout/price".
QJsonValue at(const State& state, const QString& path)
{
    QJsonValue value = state;
    for (const QString& key : path.split(QLatin1Char('/')))
        value = value.toObject().value(key);
    return value;
}

double number(const State& state, const QString& path)
{
    const QJsonValue value = at(state, path);
    return value.isString() ? value.toString().toDouble() : value.toDouble();
}

QRect rect(const State& state, const QString& path)
{
    const QJsonArray a = at(state, path).toArray();
    return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
}

double span(const State& state, const QString& rangePath)
{
    const QJsonArray range = at(state, rangePath).toArray();
    return range.at(1).toDouble() - range.at(0).toDouble();
}

QStringList strings(const State& state, const QString& path)
{
    QStringList list;
    for (const QJsonValue& value : at(state, path).toArray())
        list.append(value.toString());
    return list;
}

// The price a cursor at global x points at, from the screen columns of the range's ends.
double priceAt(const State& state, const QString& plot, int globalX)
{
    const QJsonArray x = at(state, plot + QStringLiteral("/x")).toArray();
    const QJsonArray pixels = at(state, plot + QStringLiteral("/xPixels")).toArray();
    const double lower = x.at(0).toDouble();
    const double left = pixels.at(0).toDouble();
    return lower + (globalX - left) * (x.at(1).toDouble() - lower) / (pixels.at(1).toDouble() - left);
}

bool readoutAt(const State& state, const QString& plot, int globalX)
{
    return at(state, plot + QStringLiteral("/readout/active")).toBool() &&
           qAbs(number(state, plot + QStringLiteral("/readout/price")) - priceAt(state, plot, globalX)) < 0.1;
}

bool linked(const State& state)
{
    return at(state, QStringLiteral("pnl/x")) == at(state, QStringLiteral("greeks/x"));
}

// True when the labels stand at one spacing but for at most `holes` single labels dropped (the
// quote label's neighbour may give way to it).
bool evenlySpaced(const QStringList& labels, int holes)
{
    QList<double> gaps;
    for (int i = 1; i < labels.size(); ++i)
        gaps.append(labels.at(i).toDouble() - labels.at(i - 1).toDouble());
    if (gaps.isEmpty())
        return false;
    const double step = *std::min_element(gaps.cbegin(), gaps.cend());
    for (double gap : gaps) {
        if (qAbs(gap - 2 * step) < 1e-9)
            --holes;
        else if (qAbs(gap - step) > 1e-9)
            return false;
    }
    return holes >= 0;
}

// The mean column of the red pixels of `screen` inside `area`, or -1 when there are none.
int redColumn(const QImage& screen, const QRect& area)
{
    long sum = 0;
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb pixel = screen.pixel(x, y);
            if (qRed(pixel) > 200 && qGreen(pixel) < 80 && qBlue(pixel) < 80) {
                sum += x;
                ++count;
            }
        }
    }
    return count == 0 ? -1 : int(sum / count);
}

// Columns of `area` that the grid's major lines cover over most of its height.
QList<int> gridColumns(const QImage& screen, const QRect& area)
{
    QList<int> columns;
    for (int x = area.left(); x <= area.right(); ++x) {
        int grid = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            const QRgb pixel = screen.pixel(x, y);
            grid += qAbs(qRed(pixel) - 0xb2) + qAbs(qGreen(pixel) - 0xbe) + qAbs(qBlue(pixel) - 0xb5) < 24
                        ? 1
                        : 0;
        }
        if (grid > area.height() / 2)
            columns.append(x);
    }
    return columns;
}

} // namespace

class TestDemoXvfb : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void priceAxisKeepsLabelsAndQuoteLabelFollowsQuote();
    void readoutFollowsCursor();
    void wheelAndDragMoveBothPriceAxes();
    void legendClicksHideCurvesAndKeepLabels();
    void resizeRelayoutsLabels();
    void closeAndRestartRestoreTheDesk();

private:
    QProcessEnvironment displayEnvironment() const;
    void startDesk();
    // One xdotool command line; arguments are separated by single blanks.
    bool xdotool(const QString& command);
    bool moveMouse(const QPoint& global);
    bool drag(const QPoint& from, const QPoint& by);
    QImage grabScreen();
    State state() const;
    // Polls the desk's state until `ready` holds; false (and the state logged) after the timeout.
    bool waitFor(const std::function<bool(const State&)>& ready, State* last = nullptr);

    QTemporaryDir m_dir;
    QProcess m_xvfb;
    QProcess m_desk;
    QString m_display;
    State m_beforeClose;
};

void TestDemoXvfb::initTestCase()
{
#ifndef PLOT2D_DEMO_EXECUTABLE
    QSKIP("the demo is not built (PLOT2D_BUILD_EXAMPLES=OFF)");
#endif
    const QString xvfb = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (xvfb.isEmpty())
        QSKIP("Xvfb is not installed");
    QVERIFY2(!QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty(),
             "xdotool is missing (scripts/install-deps.sh installs it)");
    QVERIFY(m_dir.isValid());

    // Xvfb picks a free display and prints its number.
    m_xvfb.start(xvfb,
                 QStringLiteral("-displayfd 1 -screen 0 1600x1000x24 -nolisten tcp").split(QLatin1Char(' ')));
    QVERIFY(m_xvfb.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(m_xvfb.canReadLine(), TimeoutMs);
    m_display = QLatin1Char(':') + QString::fromLatin1(m_xvfb.readLine().trimmed());
    startDesk();
}

void TestDemoXvfb::cleanupTestCase()
{
    for (QProcess* process : {&m_desk, &m_xvfb}) {
        if (process->state() != QProcess::NotRunning) {
            process->terminate();
            if (!process->waitForFinished(5000))
                process->kill();
        }
    }
}

QProcessEnvironment TestDemoXvfb::displayEnvironment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("DISPLAY"), m_display);
    return env;
}

void TestDemoXvfb::startDesk()
{
#ifdef PLOT2D_DEMO_EXECUTABLE
    const QString stateFile = m_dir.filePath(QStringLiteral("state.json"));
    QFile::remove(stateFile);
    m_desk.setProcessEnvironment(displayEnvironment());
    m_desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_desk.start(QStringLiteral(PLOT2D_DEMO_EXECUTABLE),
                 {QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("desk.ini")),
                  QStringLiteral("--state-file"), stateFile, QStringLiteral("--seed"), QStringLiteral("7")});
    QVERIFY(m_desk.waitForStarted());
    QVERIFY2(waitFor([](const State& s) { return !strings(s, QStringLiteral("pnl/labels")).isEmpty(); }),
             "the desk never showed its price labels");
#endif
}

bool TestDemoXvfb::xdotool(const QString& command)
{
    QProcess tool;
    tool.setProcessEnvironment(displayEnvironment());
    tool.start(QStringLiteral("xdotool"), command.split(QLatin1Char(' ')));
    return tool.waitForFinished(TimeoutMs) && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

bool TestDemoXvfb::moveMouse(const QPoint& global)
{
    return xdotool(QStringLiteral("mousemove %1 %2").arg(global.x()).arg(global.y()));
}

bool TestDemoXvfb::drag(const QPoint& from, const QPoint& by)
{
    bool ok = moveMouse(from) && xdotool(QStringLiteral("mousedown 1"));
    for (int step = 1; step <= 4; ++step)
        ok = ok && moveMouse(from + by * step / 4);
    return xdotool(QStringLiteral("mouseup 1")) && ok;
}

QImage TestDemoXvfb::grabScreen()
{
#ifdef PLOT2D_SCREENGRAB
    const QString file = m_dir.filePath(QStringLiteral("screen.png"));
    QProcess grab;
    grab.setProcessEnvironment(displayEnvironment());
    grab.start(QStringLiteral(PLOT2D_SCREENGRAB), {file});
    if (grab.waitForFinished(TimeoutMs) && grab.exitCode() == 0)
        return QImage(file).convertToFormat(QImage::Format_RGB32);
#endif
    return QImage();
}

State TestDemoXvfb::state() const
{
    QFile file(m_dir.filePath(QStringLiteral("state.json")));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : State();
}

bool TestDemoXvfb::waitFor(const std::function<bool(const State&)>& ready, State* last)
{
    State current;
    QElapsedTimer timer;
    timer.start();
    while (!ready(current = state())) {
        if (timer.elapsed() > TimeoutMs || m_desk.state() == QProcess::NotRunning) {
            qWarning("last state: %s", QJsonDocument(current).toJson(QJsonDocument::Compact).constData());
            return false;
        }
        QTest::qWait(50);
    }
    if (last)
        *last = current;
    return true;
}

void TestDemoXvfb::priceAxisKeepsLabelsAndQuoteLabelFollowsQuote()
{
    // The live quote starts at 74.35 and moves every second; each price axis must repaint its red
    // label with every move, not only at the next zoom.
    QList<double> quotes{74.35};
    State s;
    for (int moves = 0; moves < 3; ++moves) {
        QVERIFY(waitFor(
            [&](const State& now) {
                const double quote = number(now, QStringLiteral("pnl/quote"));
                return !quotes.contains(quote) &&
                       number(now, QStringLiteral("paintedAxisQuote/pnl")) == quote &&
                       number(now, QStringLiteral("paintedAxisQuote/greeks")) == quote;
            },
            &s));
        quotes.append(number(s, QStringLiteral("pnl/quote")));
    }
    const QStringList labels = strings(s, QStringLiteral("pnl/labels"));
    QVERIFY2(labels.size() >= 7 && evenlySpaced(labels, 1), qPrintable(labels.join(QLatin1Char(' '))));
    QCOMPARE(at(s, QStringLiteral("statusQuote")).toString(),
             QStringLiteral("Quote %1").arg(quotes.last(), 0, 'f', 2));

    // On the screen, the red axis label stands under the red quote line.
    const QImage screen = grabScreen();
    QVERIFY(!screen.isNull());
    const QRect canvas = rect(s, QStringLiteral("pnl/canvas"));
    const int line = redColumn(screen, canvas.adjusted(0, canvas.height() / 2, 0, 0));
    const int label = redColumn(screen, rect(s, QStringLiteral("pnl/xScale")));
    QVERIFY2(line > 0 && label > 0 && qAbs(line - label) <= 6,
             qPrintable(QStringLiteral("line at %1, label at %2").arg(line).arg(label)));
}

void TestDemoXvfb::readoutFollowsCursor()
{
    const QRect canvas = rect(state(), QStringLiteral("pnl/canvas"));
    for (double at : {0.3, 0.55, 0.8}) {
        const QPoint cursor(canvas.left() + int(at * canvas.width()), canvas.center().y());
        QVERIFY(moveMouse(cursor));
        State s;
        QVERIFY(
            waitFor([&](const State& now) { return readoutAt(now, QStringLiteral("pnl"), cursor.x()); }, &s));
        QCOMPARE(
            ::at(s, QStringLiteral("pnl/readout/values")).toObject().keys(),
            (QStringList{QStringLiteral("At expiry"), QStringLiteral("Half time"), QStringLiteral("Today")}));
        QVERIFY(!::at(s, QStringLiteral("greeks/readout/active")).toBool());
    }
}

void TestDemoXvfb::wheelAndDragMoveBothPriceAxes()
{
    const QString pnlX = QStringLiteral("pnl/x");
    State before = state();
    State s;
    const QPoint centre = rect(before, QStringLiteral("pnl/canvas")).center();

    // Wheel in over the P&L canvas: both price axes narrow, the readout follows the new prices.
    QVERIFY(moveMouse(centre) && xdotool(QStringLiteral("click 4")));
    QVERIFY(waitFor(
        [&](const State& now) {
            return span(now, pnlX) < span(before, pnlX) && linked(now) &&
                   readoutAt(now, QStringLiteral("pnl"), centre.x());
        },
        &s));

    // Drag the greeks' canvas to the left: both plots pan to higher prices.
    before = s;
    QVERIFY(drag(rect(s, QStringLiteral("greeks/canvas")).center(), QPoint(-100, 0)));
    const auto lower = [&](const State& state) { return at(state, pnlX).toArray().at(0).toDouble(); };
    QVERIFY(waitFor([&](const State& now) { return lower(now) > lower(before) + 1.0 && linked(now); }, &s));

    // Drag along the P&L price scale to the left: zoom in.
    before = s;
    QVERIFY(drag(rect(s, QStringLiteral("pnl/xScale")).center(), QPoint(-30, 0)));
    QVERIFY(
        waitFor([&](const State& now) { return span(now, pnlX) < span(before, pnlX) && linked(now); }, &s));
    QVERIFY(strings(s, QStringLiteral("pnl/labels")).size() >= 4);

    // Wheel out over the price scale.
    before = s;
    QVERIFY(moveMouse(rect(s, QStringLiteral("pnl/xScale")).center()) && xdotool(QStringLiteral("click 5")));
    QVERIFY(
        waitFor([&](const State& now) { return span(now, pnlX) > span(before, pnlX) && linked(now); }, &s));

    // Wheel over the greeks' value scale zooms that axis alone and ends its autoscale.
    before = s;
    QVERIFY(moveMouse(rect(s, QStringLiteral("greeks/yScale")).center()) &&
            xdotool(QStringLiteral("click 4")));
    QVERIFY(waitFor([&](const State& now) {
        return span(now, QStringLiteral("greeks/y")) < span(before, QStringLiteral("greeks/y")) &&
               !at(now, QStringLiteral("greeks/autoscale")).toBool() && at(now, pnlX) == at(before, pnlX);
    }));
}

void TestDemoXvfb::legendClicksHideCurvesAndKeepLabels()
{
    const State s0 = state();
    const auto box = [&](const QString& path) {
        const QJsonArray a = at(s0, path).toArray();
        return QPoint(a.at(0).toInt(), a.at(1).toInt());
    };
    QVERIFY(moveMouse(box(QStringLiteral("pnl/legend/checkBoxes/Quote"))) &&
            xdotool(QStringLiteral("click 1")));
    QVERIFY(moveMouse(box(QStringLiteral("greeks/legend/checkBoxes/Delta"))) &&
            xdotool(QStringLiteral("click 1")));

    // With the quote line hidden no quote label competes for room: no label gives way, and the
    // axis shows no red.
    State s;
    QVERIFY(waitFor(
        [](const State& now) {
            return strings(now, QStringLiteral("pnl/legend/unchecked")) ==
                       QStringList{QStringLiteral("Quote")} &&
                   strings(now, QStringLiteral("greeks/legend/unchecked")) ==
                       QStringList{QStringLiteral("Delta")} &&
                   number(now, QStringLiteral("paintedAxisQuote/pnl")) == 0.0;
        },
        &s));
    const QStringList labels = strings(s, QStringLiteral("pnl/labels"));
    QVERIFY2(labels.size() >= 5 && evenlySpaced(labels, 0), qPrintable(labels.join(QLatin1Char(' '))));
    QCOMPARE(redColumn(grabScreen(), rect(s, QStringLiteral("pnl/xScale"))), -1);

    // The greeks' readout lists the visible curves only.
    QVERIFY(moveMouse(rect(s, QStringLiteral("greeks/canvas")).center()));
    QVERIFY(waitFor([](const State& now) {
        return at(now, QStringLiteral("greeks/readout/values")).toObject().keys() ==
               QStringList{QStringLiteral("Gamma"), QStringLiteral("Theta"), QStringLiteral("Vega")};
    }));
}

void TestDemoXvfb::resizeRelayoutsLabels()
{
    // The hidden quote keeps the P&L labels still. A resize relayouts them at once: the first
    // state the desk reports at the new size already shows the labels of that size.
    const QStringList labels = strings(state(), QStringLiteral("pnl/labels"));
    const auto resizedTo = [this](int width, int height, State* s) {
        // "%1" is xdotool's: the window found.
        return xdotool(QStringLiteral("search --sync --name desk: windowsize %1 ") + QString::number(width) +
                       QLatin1Char(' ') + QString::number(height)) &&
               waitFor(
                   [width](const State& now) { return rect(now, QStringLiteral("window")).width() == width; },
                   s);
    };
    State s;
    QVERIFY(resizedTo(380, 280, &s));
    const QStringList small = strings(s, QStringLiteral("pnl/labels"));
    QVERIFY2(small.size() >= 2 && small.size() < labels.size(), qPrintable(small.join(QLatin1Char(' '))));

    QVERIFY(resizedTo(1200, 700, &s));
    QCOMPARE(strings(s, QStringLiteral("pnl/labels")), labels);
    m_beforeClose = s;
}

void TestDemoXvfb::closeAndRestartRestoreTheDesk()
{
    // Ctrl+Q closes the window as the user would; the restarted desk is the one that was left.
    QVERIFY(xdotool(QStringLiteral("search --sync --name desk: windowfocus --sync %1")));
    QVERIFY(xdotool(QStringLiteral("key ctrl+q")));
    QVERIFY(m_desk.waitForFinished(TimeoutMs));
    QCOMPARE(m_desk.exitCode(), 0);

    startDesk();
    const State left = m_beforeClose;
    State s;
    QVERIFY(waitFor(
        [&](const State& now) {
            for (const char* path : {"pnl/legend/unchecked", "greeks/legend/unchecked", "pnl/x",
                                     "pnl/autoscale", "greeks/autoscale", "greeks/y"}) {
                if (at(now, QLatin1String(path)) != at(left, QLatin1String(path)))
                    return false;
            }
            return rect(now, QStringLiteral("window")).size() == rect(left, QStringLiteral("window")).size();
        },
        &s));
    QCOMPARE(strings(s, QStringLiteral("greeks/legend/unchecked")), QStringList{QStringLiteral("Delta")});

    // On the screen both canvases show their grid at the same columns: the panels line up.
    const QImage screen = grabScreen();
    const QList<int> pnl = gridColumns(screen, rect(s, QStringLiteral("pnl/canvas")));
    QVERIFY(pnl.size() >= 5);
    QCOMPARE(gridColumns(screen, rect(s, QStringLiteral("greeks/canvas"))), pnl);
}

PLOT2D_TEST_MAIN(TestDemoXvfb)
#include "tst_demo_xvfb.moc"
