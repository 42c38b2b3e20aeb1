#pragma once

#include <plot2d/platform.h>
#include <plot2d/pricebased2dplot.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotlegend.h>
#include <plot2d/pricebased2dplotpicker.h>

#include <qwt_symbol.h>

#include <QApplication>
#include <QMap>
#include <QString>
#include <QTemporaryDir>
#include <QtTest>

#include <tuple>
#include <utility>

namespace TestSupport {

// Fixed font (DejaVu Sans, 9 pt) for the application, so label geometry does not depend on the
// machine. Call before any plot is built; PLOT2D_TEST_MAIN does.
void initEnvironment();
QString sampleDataDir();
// Loads the shipped "securities" and "boards" tables into the data store. Returns false (with the
// loader's message in `error`) on failure.
bool loadSampleData(QString* error = nullptr);
// Removes every table from the data store. No plot may outlive this.
void clearData();
// Writes `content` to `dir`/`fileName` and returns the path.
QString writeFile(const QString& dir, const QString& fileName, const QByteArray& content);

// The securities CSV header, without the named columns.
QByteArray securitiesHeader(const QList<QByteArray>& omitted = {});
// One securities row (with its leading newline); unnamed fields are null. A futures contract of base
// "BR" on the anonymous board 1, price step 0.01, by default.
QByteArray row(QMap<QByteArray, QByteArray> values, const QList<QByteArray>& omitted = {});
// The same with the fields given as "name=value" pairs separated by spaces.
QByteArray row(const QByteArray& fields);
// The futures contract isin 1001 "BR-1.27" (quote 74.35); an empty step gives a null price_step.
QByteArray futureRow(const QByteArray& priceStep = "0.01");
// A call per strike on isin 1001, sec_id counting from `firstSecId`.
QByteArray optionRows(int firstSecId, const QStringList& strikes, const QByteArray& priceStep = "0.01");
// Loads `content` as table `name` (a second load of a name adds its rows as one change).
Table* loadTable(const QTemporaryDir& dir, const QString& name, const QByteArray& content);
// Board 1 anonymous, board 2 addressed, and the given securities rows.
bool load(const QTemporaryDir& dir, const QByteArray& rows, const QList<QByteArray>& omitted = {});
bool addSecurities(const QTemporaryDir& dir, const QByteArray& rows);

// A curve that passes every validity rule (red sticks for the quote line), attached to `plot` if any.
PriceBased2dPlotCurve* validCurve(PriceBased2dPlot* plot, const QString& title, int type,
                                  const QVector<QPointF>& samples,
                                  QwtSymbol::Style symbol = QwtSymbol::NoSymbol);
// A picker whose price step is read from the plot's futures record.
PriceBased2dPlotPicker* attachPicker(PriceBased2dPlot* plot);
// The check-box legend, wired to the plot the way a client wires it.
PriceBased2dPlotLegend* attachLegend(PriceBased2dPlot* plot);
// Resizes and shows `widget`; false if it was never exposed.
bool show(QWidget* widget, const QSize& size = QSize(640, 480));
// A wheel event at `pos` of `target`, delivered as the window system does: the cursor moved there
// (the plot reads it for the zoom anchor) and the event marked spontaneous, since Qt hands only
// such wheel events on to the parent plot when a canvas or scale ignores them.
void wheel(QWidget* target, const QPoint& pos, const QPoint& angleDelta,
           Qt::KeyboardModifiers modifiers = Qt::NoModifier);

// Declares a data table's columns in one statement: columns<double, int>({"value", "decimals"}).
template <typename... T>
void columns(std::initializer_list<const char*> names)
{
    auto name = names.begin();
    (QTest::addColumn<T>(*name++), ...);
}

template <typename... T, std::size_t... I>
std::tuple<T...> fetchAt(const char* const* names, std::index_sequence<I...>)
{
    return std::tuple<T...>(*static_cast<T*>(QTest::qData(names[I], qMetaTypeId<T>()))...);
}

// The current row's values of the named columns: auto [a, b] = fetch<double, int>({"a", "b"}).
template <typename... T>
std::tuple<T...> fetch(std::initializer_list<const char*> names)
{
    return fetchAt<T...>(names.begin(), std::index_sequence_for<T...>());
}

} // namespace TestSupport

// A concrete plot for tests: curves are the test's own business.
class TestPlot : public PriceBased2dPlot
{
    Q_OBJECT

public:
    explicit TestPlot(bool setUp = true, QWidget* parent = nullptr) : PriceBased2dPlot(setUp, parent) {}
    void updateCurves() override {}
};

// QTEST_MAIN with the fixed test environment set up before the test object exists.
#define PLOT2D_TEST_MAIN(TestObject)                                                                         \
    int main(int argc, char* argv[])                                                                         \
    {                                                                                                        \
        QApplication app(argc, argv);                                                                        \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestSupport::initEnvironment();                                                                      \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
