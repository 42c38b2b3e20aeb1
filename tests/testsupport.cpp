#include "testsupport.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QWheelEvent>

namespace TestSupport {

void initEnvironment()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSize(9);
    font.setStyleHint(QFont::SansSerif);
    QApplication::setFont(font);
}

QString sampleDataDir()
{
    return QStringLiteral(PLOT2D_SAMPLE_DATA_DIR);
}

bool loadSampleData(QString* error)
{
    DataStore* store = ICore::instance()->dataStore();
    const QDir dir(sampleDataDir());
    if (!store->loadCsv(QStringLiteral("boards"), dir.filePath(QStringLiteral("boards.csv")), error))
        return false;
    return store->loadCsv(QStringLiteral("securities"), dir.filePath(QStringLiteral("securities.csv")),
                          error) != nullptr;
}

void clearData()
{
    ICore::instance()->dataStore()->clear();
}

QString writeFile(const QString& dir, const QString& fileName, const QByteArray& content)
{
    const QString path = QDir(dir).filePath(fileName);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(content);
    return path;
}

QByteArray securitiesHeader(const QList<QByteArray>& omitted)
{
    static const QByteArray all =
        "sec_id:2,isin_id:1,stock_id:1,board_id:1,sec_code:5:25,sectype:5:1,base_code:5:20,"
        "expdate:6,price_step:4:5,strike:4:5,option_type:5:1,sess_id:1,fut_isin_id:1,"
        "base_isin_id:1,bid:4:5,ask:4:5,cur_kotir_real:4:5,cur_kotir:4:5,old_kotir:4:5,"
        "volat_min:4:4,volat_max:4:4,lasttime:6";
    QList<QByteArray> kept;
    for (const QByteArray& column : all.split(',')) {
        if (!omitted.contains(column.left(column.indexOf(':'))))
            kept << column;
    }
    return kept.join(',');
}

QByteArray row(QMap<QByteArray, QByteArray> values, const QList<QByteArray>& omitted)
{
    const QMap<QByteArray, QByteArray> defaults = {
        {"stock_id", "1"},   {"board_id", "1"},      {"sectype", "F"},         {"base_code", "BR"},
        {"sess_id", "7001"}, {"price_step", "0.01"}, {"expdate", "2027-01-29"}};
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        values.insert(it.key(), values.value(it.key(), it.value()));
    QList<QByteArray> cells;
    for (const QByteArray& column : securitiesHeader(omitted).split(','))
        cells << values.value(column.left(column.indexOf(':')));
    return '\n' + cells.join(',');
}

QByteArray row(const QByteArray& fields)
{
    QMap<QByteArray, QByteArray> values;
    for (const QByteArray& field : fields.split(' ')) {
        const int equals = field.indexOf('=');
        values.insert(field.left(equals), field.mid(equals + 1));
    }
    return row(values);
}

QByteArray futureRow(const QByteArray& priceStep)
{
    return row("sec_id=1 isin_id=1001 sec_code=BR-1.27 cur_kotir=74.35 old_kotir=74.10 volat_min=0.25 "
               "volat_max=0.45 price_step=" +
               priceStep);
}

QByteArray optionRows(int firstSecId, const QStringList& strikes, const QByteArray& priceStep)
{
    QByteArray rows;
    int secId = firstSecId;
    for (const QString& strike : strikes) {
        const QByteArray s = strike.toLatin1();
        rows += row("sectype=O expdate=2027-01-25 option_type=C fut_isin_id=1001 bid=1.5 ask=1.6 sec_id=" +
                    QByteArray::number(secId) + " isin_id=" + QByteArray::number(secId + 10000) +
                    " sec_code=BR" + s + "C strike=" + s + " price_step=" + priceStep);
        ++secId;
    }
    return rows;
}

Table* loadTable(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    static int fileNumber = 0;
    const QString path =
        writeFile(dir.path(), QStringLiteral("%1_%2.csv").arg(name).arg(++fileNumber), content);
    QString error;
    Table* table = ICore::instance()->dataStore()->loadCsv(name, path, &error);
    if (!table)
        qWarning("%s", qPrintable(error));
    return table;
}

bool load(const QTemporaryDir& dir, const QByteArray& rows, const QList<QByteArray>& omitted)
{
    return loadTable(dir, QStringLiteral("boards"),
                     "board_id:1,stock_id:1,board_code:5:20,anonym:5:1\n1,1,RFUD,D\n2,1,RFUDA,A\n") &&
           loadTable(dir, QStringLiteral("securities"), securitiesHeader(omitted) + rows);
}

bool addSecurities(const QTemporaryDir& dir, const QByteArray& rows)
{
    return loadTable(dir, QStringLiteral("securities"), securitiesHeader() + rows);
}

PriceBased2dPlotCurve* validCurve(PriceBased2dPlot* plot, const QString& title, int type,
                                  const QVector<QPointF>& samples, QwtSymbol::Style symbol)
{
    const bool line = type == PriceBased2dPlotCurve::CurKotirLine;
    auto* curve = new PriceBased2dPlotCurve(plot, title);
    curve->setDataType(type);
    curve->setStyle(line ? QwtPlotCurve::Sticks : QwtPlotCurve::Lines);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setPen(QPen(line ? Qt::red : Qt::blue));
    curve->setSamples(samples);
    if (symbol != QwtSymbol::NoSymbol)
        curve->setSymbol(new QwtSymbol(symbol, QBrush(Qt::blue), QPen(Qt::blue), QSize(5, 5)));
    if (plot)
        curve->attach(plot);
    return curve;
}

PriceBased2dPlotPicker* attachPicker(PriceBased2dPlot* plot)
{
    auto* picker = new PriceBased2dPlotPicker(plot->canvas());
    plot->setPicker(picker);
    picker->setPriceStep();
    return picker;
}

PriceBased2dPlotLegend* attachLegend(PriceBased2dPlot* plot)
{
    auto* legend = new PriceBased2dPlotLegend(plot);
    legend->initCore();
    plot->insertLegend(legend);
    QObject::connect(legend, &PriceBased2dPlotLegend::visibilityChanged, plot,
                     &PriceBased2dPlot::setCurveVisible);
    return legend;
}

bool show(QWidget* widget, const QSize& size)
{
    widget->resize(size);
    widget->show();
    return QTest::qWaitForWindowExposed(widget);
}

void wheel(QWidget* target, const QPoint& pos, const QPoint& angleDelta, Qt::KeyboardModifiers modifiers)
{
    const QPoint global = target->mapToGlobal(pos);
    QCursor::setPos(global);
    QWheelEvent event(QPointF(pos), QPointF(global), QPoint(), angleDelta, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(target, &event); // as QTest does: sendEvent() would clear the mark
}

} // namespace TestSupport
