// Builds a plot over the sample data through the installed headers and package only.
#include <plot2d/platform.h>
#include <plot2d/pricebased2dplot.h>
#include <plot2d/pricebased2dplotcurve.h>

#include <QApplication>
#include <QDir>
#include <QTextStream>

namespace {

class ClientPlot : public PriceBased2dPlot
{
public:
    ClientPlot() : PriceBased2dPlot(true, nullptr) {}
    void updateCurves() override {}
};

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QTextStream err(stderr);
    if (argc < 2) {
        err << "usage: plot2d_client DATA_DIR\n";
        return 2;
    }
    const QDir dir(QString::fromLocal8Bit(argv[1]));
    DataStore* store = ICore::instance()->dataStore();
    QString error;
    if (!store->loadCsv(QStringLiteral("boards"), dir.filePath(QStringLiteral("boards.csv")), &error) ||
        !store->loadCsv(QStringLiteral("securities"), dir.filePath(QStringLiteral("securities.csv")),
                        &error)) {
        err << error << '\n';
        return 1;
    }

    ClientPlot plot;
    plot.setBaseCode(QStringLiteral("BR"));
    if (plot.getFuture().isNull()) {
        err << "no futures for BR\n";
        return 1;
    }
    auto* curve = new PriceBased2dPlotCurve(&plot, QStringLiteral("value"));
    curve->setDataType(9);
    curve->setSamples(QVector<QPointF>{{70.0, 1.0}, {75.0, 2.0}, {80.0, 1.5}});
    curve->attach(&plot);
    plot.resize(400, 300);
    plot.show();
    plot.replot();
    QCoreApplication::processEvents();
    if (plot.attachedCurves(-1).size() != 1) {
        err << "curve not attached\n";
        return 1;
    }
    QTextStream(stdout) << "plot2d client OK\n";
    return 0;
}
