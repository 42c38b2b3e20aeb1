#pragma once

#include <plot2d/pricebased2dplot.h>

#include <QString>
#include <QApplication>
#include <QtTest>

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

} // namespace TestSupport

// A concrete plot for tests: counts updateCurves() calls.
class TestPlot : public PriceBased2dPlot
{
    Q_OBJECT

public:
    explicit TestPlot(bool setUp = true, QWidget* parent = nullptr) : PriceBased2dPlot(setUp, parent) {}
    void updateCurves() override { ++updateCurvesCount; }
    int updateCurvesCount = 0;
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
