// Drives the real demo window on an Xvfb display with xdotool, and checks the desk by the state it
// dumps and by the pixels on the screen.
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

QRect rectOf(const QJsonValue& value)
{
    const QJsonArray a = value.toArray();
    return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
}

QPoint centreOf(const QRect& rect)
{
    return rect.center();
}

double span(const QJsonObject& plot, const char* axis)
{
    const QJsonArray range = plot.value(QLatin1String(axis)).toArray();
    return range.at(1).toDouble() - range.at(0).toDouble();
}

// The price the crosshair must show for a cursor at global x, from the screen columns of the
// range's ends that the desk reports.
double priceAt(const QJsonObject& plot, int globalX)
{
    const QJsonArray x = plot.value(QStringLiteral("x")).toArray();
    const QJsonArray pixels = plot.value(QStringLiteral("xPixels")).toArray();
    const double lower = x.at(0).toDouble();
    const double left = pixels.at(0).toDouble();
    return lower + (globalX - left) * (x.at(1).toDouble() - lower) / (pixels.at(1).toDouble() - left);
}

QStringList labelsOf(const QJsonObject& plot)
{
    QStringList labels;
    for (const QJsonValue& label : plot.value(QStringLiteral("labels")).toArray())
        labels.append(label.toString());
    return labels;
}

// True when the labels stand at one spacing, but for at most `holes` single labels dropped
// (the neighbour of the quote label may give way to it).
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

// Red pixels of the screen inside `area`, as the mean column, or -1 when there are none.
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
    bool xdotool(const QStringList& arguments);
    void moveMouse(const QPoint& global);
    QImage grabScreen();
    QJsonObject state() const;
    // Polls the desk's state until `ready` holds; false after the timeout.
    bool waitFor(const std::function<bool(const QJsonObject&)>& ready, QJsonObject* last = nullptr);

    QTemporaryDir m_dir;
    QProcess m_xvfb;
    QProcess m_desk;
    QString m_display;
    QJsonObject m_beforeClose;
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
    m_xvfb.start(xvfb, {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                        QStringLiteral("0"), QStringLiteral("1600x1000x24"), QStringLiteral("-nolisten"),
                        QStringLiteral("tcp")});
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
    m_desk.setProcessEnvironment(displayEnvironment());
    m_desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QFile::remove(m_dir.filePath(QStringLiteral("state.json")));
    m_desk.start(QStringLiteral(PLOT2D_DEMO_EXECUTABLE),
                 {QStringLiteral("--settings"), m_dir.filePath(QStringLiteral("desk.ini")),
                  QStringLiteral("--state-file"), m_dir.filePath(QStringLiteral("state.json")),
                  QStringLiteral("--seed"), QStringLiteral("7")});
    QVERIFY(m_desk.waitForStarted());
    QVERIFY2(waitFor([](const QJsonObject& s) {
                 return !labelsOf(s.value(QStringLiteral("pnl")).toObject()).isEmpty();
             }),
             "the desk never showed its price labels");
#endif
}

bool TestDemoXvfb::xdotool(const QStringList& arguments)
{
    QProcess tool;
    tool.setProcessEnvironment(displayEnvironment());
    tool.start(QStringLiteral("xdotool"), arguments);
    return tool.waitForFinished(TimeoutMs) && tool.exitStatus() == QProcess::NormalExit &&
           tool.exitCode() == 0;
}

void TestDemoXvfb::moveMouse(const QPoint& global)
{
    QVERIFY(xdotool({QStringLiteral("mousemove"), QString::number(global.x()), QString::number(global.y())}));
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

QJsonObject TestDemoXvfb::state() const
{
    QFile file(m_dir.filePath(QStringLiteral("state.json")));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
}

bool TestDemoXvfb::waitFor(const std::function<bool(const QJsonObject&)>& ready, QJsonObject* last)
{
    QJsonObject current;
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
    // The live quote starts at 74.35 and moves every second; each axis must repaint its red label
    // with every move, not only at the next zoom.
    QList<double> quotes;
    QJsonObject s;
    for (int moves = 0; moves < 3; ++moves) {
        QVERIFY(waitFor(
            [&](const QJsonObject& now) {
                const double quote =
                    now.value(QStringLiteral("pnl")).toObject().value(QStringLiteral("quote")).toDouble();
                const QJsonObject painted = now.value(QStringLiteral("paintedAxisQuote")).toObject();
                return !quotes.contains(quote) && quote != 74.35 &&
                       painted.value(QStringLiteral("pnl")).toDouble() == quote &&
                       painted.value(QStringLiteral("greeks")).toDouble() == quote;
            },
            &s));
        quotes.append(s.value(QStringLiteral("pnl")).toObject().value(QStringLiteral("quote")).toDouble());
    }
    const QJsonObject pnl = s.value(QStringLiteral("pnl")).toObject();
    QVERIFY2(labelsOf(pnl).size() >= 7 && evenlySpaced(labelsOf(pnl), 1),
             qPrintable(labelsOf(pnl).join(QLatin1Char(' '))));
    QCOMPARE(s.value(QStringLiteral("statusQuote")).toString(),
             QStringLiteral("Quote %1").arg(quotes.last(), 0, 'f', 2));

    // On screen, the red axis label stands under the red quote line.
    const QImage screen = grabScreen();
    QVERIFY(!screen.isNull());
    const QRect canvas = rectOf(pnl.value(QStringLiteral("canvas")));
    const int line = redColumn(screen, canvas.adjusted(0, canvas.height() / 2, 0, 0));
    const int label = redColumn(screen, rectOf(pnl.value(QStringLiteral("xScale"))));
    QVERIFY2(line > 0 && label > 0 && qAbs(line - label) <= 6,
             qPrintable(QStringLiteral("line at %1, label at %2").arg(line).arg(label)));
}

void TestDemoXvfb::readoutFollowsCursor()
{
    const QJsonObject start = state();
    const QJsonObject pnl = start.value(QStringLiteral("pnl")).toObject();
    const QRect canvas = rectOf(pnl.value(QStringLiteral("canvas")));
    for (double at : {0.3, 0.55, 0.8}) {
        const QPoint cursor(canvas.left() + int(at * canvas.width()), canvas.center().y());
        moveMouse(cursor);
        QJsonObject s;
        QVERIFY(waitFor(
            [&](const QJsonObject& now) {
                const QJsonObject plot = now.value(QStringLiteral("pnl")).toObject();
                const QJsonObject readout = plot.value(QStringLiteral("readout")).toObject();
                return readout.value(QStringLiteral("active")).toBool() &&
                       qAbs(readout.value(QStringLiteral("price")).toString().toDouble() -
                            priceAt(plot, cursor.x())) < 0.1;
            },
            &s));
        const QJsonObject values = s.value(QStringLiteral("pnl"))
                                       .toObject()
                                       .value(QStringLiteral("readout"))
                                       .toObject()
                                       .value(QStringLiteral("values"))
                                       .toObject();
        QCOMPARE(values.keys(), (QStringList{QStringLiteral("At expiry"), QStringLiteral("Half time"),
                                             QStringLiteral("Today")}));
        QVERIFY(!s.value(QStringLiteral("greeks"))
                     .toObject()
                     .value(QStringLiteral("readout"))
                     .toObject()
                     .value(QStringLiteral("active"))
                     .toBool());
    }
}

void TestDemoXvfb::wheelAndDragMoveBothPriceAxes()
{
    const auto linked = [](const QJsonObject& s) {
        return s.value(QStringLiteral("pnl")).toObject().value(QStringLiteral("x")) ==
               s.value(QStringLiteral("greeks")).toObject().value(QStringLiteral("x"));
    };
    const auto pnlOf = [](const QJsonObject& s) { return s.value(QStringLiteral("pnl")).toObject(); };
    const auto greeksOf = [](const QJsonObject& s) { return s.value(QStringLiteral("greeks")).toObject(); };
    QJsonObject before = state();
    const QRect canvas = rectOf(pnlOf(before).value(QStringLiteral("canvas")));

    // Wheel in over the P&L canvas: both price axes narrow, the readout follows the new prices.
    moveMouse(canvas.center());
    QVERIFY(xdotool({QStringLiteral("click"), QStringLiteral("4")}));
    QJsonObject s;
    QVERIFY(waitFor(
        [&](const QJsonObject& now) {
            const QJsonObject readout = pnlOf(now).value(QStringLiteral("readout")).toObject();
            return span(pnlOf(now), "x") < span(pnlOf(before), "x") && linked(now) &&
                   qAbs(readout.value(QStringLiteral("price")).toString().toDouble() -
                        priceAt(pnlOf(now), canvas.center().x())) < 0.1;
        },
        &s));

    // Drag the greeks' canvas to the left: both plots pan to higher prices.
    before = s;
    const QRect greeks = rectOf(greeksOf(s).value(QStringLiteral("canvas")));
    const QPoint from = greeks.center();
    moveMouse(from);
    QVERIFY(xdotool({QStringLiteral("mousedown"), QStringLiteral("1")}));
    for (int step = 1; step <= 4; ++step)
        moveMouse(from - QPoint(25 * step, 0));
    QVERIFY(xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));
    const auto lowerOf = [&](const QJsonObject& state) {
        return pnlOf(state).value(QStringLiteral("x")).toArray().at(0).toDouble();
    };
    QVERIFY(waitFor(
        [&](const QJsonObject& now) { return lowerOf(now) > lowerOf(before) + 1.0 && linked(now); }, &s));

    // Drag along the P&L price scale to the left: zoom in.
    before = s;
    const QPoint scale = centreOf(rectOf(pnlOf(s).value(QStringLiteral("xScale"))));
    moveMouse(scale);
    QVERIFY(xdotool({QStringLiteral("mousedown"), QStringLiteral("1")}));
    for (int step = 1; step <= 3; ++step)
        moveMouse(scale - QPoint(10 * step, 0));
    QVERIFY(xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));
    QVERIFY(waitFor(
        [&](const QJsonObject& now) {
            return span(pnlOf(now), "x") < span(pnlOf(before), "x") && linked(now);
        },
        &s));
    QVERIFY2(labelsOf(pnlOf(s)).size() >= 4, qPrintable(labelsOf(pnlOf(s)).join(QLatin1Char(' '))));

    // Wheel out over the price scale.
    before = s;
    moveMouse(centreOf(rectOf(pnlOf(s).value(QStringLiteral("xScale")))));
    QVERIFY(xdotool({QStringLiteral("click"), QStringLiteral("5")}));
    QVERIFY(waitFor(
        [&](const QJsonObject& now) {
            return span(pnlOf(now), "x") > span(pnlOf(before), "x") && linked(now);
        },
        &s));

    // Wheel over the greeks' value scale zooms that axis alone and ends its autoscale.
    before = s;
    moveMouse(centreOf(rectOf(greeksOf(s).value(QStringLiteral("yScale")))));
    QVERIFY(xdotool({QStringLiteral("click"), QStringLiteral("4")}));
    QVERIFY(waitFor(
        [&](const QJsonObject& now) {
            return span(greeksOf(now), "y") < span(greeksOf(before), "y") &&
                   !greeksOf(now).value(QStringLiteral("autoscale")).toBool() &&
                   pnlOf(now).value(QStringLiteral("x")) == pnlOf(before).value(QStringLiteral("x"));
        },
        &s));
}

void TestDemoXvfb::legendClicksHideCurvesAndKeepLabels()
{
    const QJsonObject s0 = state();
    const auto boxOf = [](const QJsonObject& s, const char* plot, const char* title) {
        const QJsonArray box = s.value(QLatin1String(plot))
                                   .toObject()
                                   .value(QStringLiteral("legend"))
                                   .toObject()
                                   .value(QStringLiteral("checkBoxes"))
                                   .toObject()
                                   .value(QLatin1String(title))
                                   .toArray();
        return QPoint(box.at(0).toInt(), box.at(1).toInt());
    };
    moveMouse(boxOf(s0, "pnl", "Quote"));
    QVERIFY(xdotool({QStringLiteral("click"), QStringLiteral("1")}));
    moveMouse(boxOf(s0, "greeks", "Delta"));
    QVERIFY(xdotool({QStringLiteral("click"), QStringLiteral("1")}));

    // With the quote line hidden no quote label competes for room: no label gives way, and the
    // axis shows no red.
    QJsonObject s;
    QVERIFY(waitFor(
        [](const QJsonObject& now) {
            const QJsonObject pnl = now.value(QStringLiteral("pnl")).toObject();
            return pnl.value(QStringLiteral("legend")).toObject().value(QStringLiteral("unchecked")) ==
                       QJsonArray{QStringLiteral("Quote")} &&
                   now.value(QStringLiteral("paintedAxisQuote"))
                           .toObject()
                           .value(QStringLiteral("pnl"))
                           .toDouble() == 0.0 &&
                   now.value(QStringLiteral("greeks"))
                           .toObject()
                           .value(QStringLiteral("legend"))
                           .toObject()
                           .value(QStringLiteral("unchecked")) == QJsonArray{QStringLiteral("Delta")};
        },
        &s));
    const QJsonObject pnl = s.value(QStringLiteral("pnl")).toObject();
    QVERIFY2(labelsOf(pnl).size() >= 5 && evenlySpaced(labelsOf(pnl), 0),
             qPrintable(labelsOf(pnl).join(QLatin1Char(' '))));
    QCOMPARE(redColumn(grabScreen(), rectOf(pnl.value(QStringLiteral("xScale")))), -1);

    // The greeks' readout lists the visible curves only.
    moveMouse(rectOf(s.value(QStringLiteral("greeks")).toObject().value(QStringLiteral("canvas"))).center());
    QVERIFY(waitFor([](const QJsonObject& now) {
        return now.value(QStringLiteral("greeks"))
                   .toObject()
                   .value(QStringLiteral("readout"))
                   .toObject()
                   .value(QStringLiteral("values"))
                   .toObject()
                   .keys() ==
               QStringList{QStringLiteral("Gamma"), QStringLiteral("Theta"), QStringLiteral("Vega")};
    }));
}

void TestDemoXvfb::resizeRelayoutsLabels()
{
    // The hidden quote keeps the P&L labels still. A resize relayouts them at once: the first
    // state the desk reports at the new size already shows the labels of that size.
    const QStringList labels = labelsOf(state().value(QStringLiteral("pnl")).toObject());
    const auto resize = [this](int width, int height) {
        return xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--name"),
                        QStringLiteral("plot2d desk"), QStringLiteral("windowsize"), QStringLiteral("%1"),
                        QString::number(width), QString::number(height)});
    };
    const auto widthIs = [](int width) {
        return [width](const QJsonObject& now) {
            return rectOf(now.value(QStringLiteral("window"))).width() == width;
        };
    };
    QJsonObject s;
    QVERIFY(resize(380, 280));
    QVERIFY(waitFor(widthIs(380), &s));
    const QStringList small = labelsOf(s.value(QStringLiteral("pnl")).toObject());
    QVERIFY2(small.size() >= 2 && small.size() < labels.size(), qPrintable(small.join(QLatin1Char(' '))));

    QVERIFY(resize(1200, 700));
    QVERIFY(waitFor(widthIs(1200), &s));
    QCOMPARE(labelsOf(s.value(QStringLiteral("pnl")).toObject()), labels);
    m_beforeClose = s;
}

void TestDemoXvfb::closeAndRestartRestoreTheDesk()
{
    // Ctrl+Q closes the window as the user would; the restarted desk is the one that was left.
    QVERIFY(xdotool({QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--name"),
                     QStringLiteral("plot2d desk"), QStringLiteral("windowfocus"), QStringLiteral("--sync"),
                     QStringLiteral("%1")}));
    QVERIFY(xdotool({QStringLiteral("key"), QStringLiteral("ctrl+q")}));
    QVERIFY(m_desk.waitForFinished(TimeoutMs));
    QCOMPARE(m_desk.exitCode(), 0);

    startDesk();
    QJsonObject s;
    const QJsonObject left = m_beforeClose;
    QVERIFY(waitFor(
        [&](const QJsonObject& now) {
            for (const QString& plot : {QStringLiteral("pnl"), QStringLiteral("greeks")}) {
                const QJsonObject was = left.value(plot).toObject();
                const QJsonObject is = now.value(plot).toObject();
                if (is.value(QStringLiteral("legend")).toObject().value(QStringLiteral("unchecked")) !=
                        was.value(QStringLiteral("legend")).toObject().value(QStringLiteral("unchecked")) ||
                    is.value(QStringLiteral("x")) != was.value(QStringLiteral("x")) ||
                    is.value(QStringLiteral("autoscale")) != was.value(QStringLiteral("autoscale")))
                    return false;
            }
            return rectOf(now.value(QStringLiteral("window"))).size() ==
                   rectOf(left.value(QStringLiteral("window"))).size();
        },
        &s));
    QCOMPARE(s.value(QStringLiteral("greeks")).toObject().value(QStringLiteral("y")),
             left.value(QStringLiteral("greeks")).toObject().value(QStringLiteral("y")));
}

PLOT2D_TEST_MAIN(TestDemoXvfb)
#include "tst_demo_xvfb.moc"
