#pragma once

#include "testsupport.h"

#include <plot2d/datastore.h>
#include <plot2d/icore.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/table.h>

#include <QByteArray>
#include <QMap>
#include <QStringList>
#include <QTemporaryDir>

// Securities fixtures of the plot and curve suites, written as CSV and loaded through the data layer.
namespace PlotFixture {

inline const QList<QByteArray>& securitiesColumns()
{
    static const QList<QByteArray> columns = {
        "sec_id:2",        "isin_id:1",          "stock_id:1",    "board_id:1",     "sec_code:5:25",
        "sectype:5:1",     "base_code:5:20",     "expdate:6",     "price_step:4:5", "strike:4:5",
        "option_type:5:1", "sess_id:1",          "fut_isin_id:1", "base_isin_id:1", "bid:4:5",
        "ask:4:5",         "cur_kotir_real:4:5", "cur_kotir:4:5", "old_kotir:4:5",  "volat_min:4:4",
        "volat_max:4:4",   "lasttime:6"};
    return columns;
}

inline QByteArray columnName(const QByteArray& column)
{
    return column.left(column.indexOf(':'));
}

// The header line without the named columns.
inline QByteArray securitiesHeader(const QList<QByteArray>& omitted = {})
{
    QList<QByteArray> kept;
    for (const QByteArray& column : securitiesColumns()) {
        if (!omitted.contains(columnName(column)))
            kept << column;
    }
    return kept.join(',') + '\n';
}

// One row; unnamed fields are null. Futures of base "BR" on the anonymous board 1 by default.
inline QByteArray row(QMap<QByteArray, QByteArray> values, const QList<QByteArray>& omitted = {})
{
    const QMap<QByteArray, QByteArray> defaults = {
        {"stock_id", "1"},   {"board_id", "1"},      {"sectype", "F"},         {"base_code", "BR"},
        {"sess_id", "7001"}, {"price_step", "0.01"}, {"expdate", "2027-01-29"}};
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it) {
        if (!values.contains(it.key()))
            values.insert(it.key(), it.value());
    }
    QList<QByteArray> cells;
    for (const QByteArray& column : securitiesColumns()) {
        const QByteArray name = columnName(column);
        if (!omitted.contains(name))
            cells << values.value(name);
    }
    return cells.join(',') + '\n';
}

inline Table* loadTable(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    static int fileNumber = 0;
    const QString path =
        TestSupport::writeFile(dir.path(), QStringLiteral("%1_%2.csv").arg(name).arg(++fileNumber), content);
    QString error;
    Table* table = ICore::instance()->dataStore()->loadCsv(name, path, &error);
    if (!table)
        qWarning("%s", qPrintable(error));
    return table;
}

// Board 1 anonymous, board 2 addressed, and the given securities rows.
inline Table* load(const QTemporaryDir& dir, const QByteArray& rows, const QList<QByteArray>& omitted = {})
{
    const QByteArray boards = "board_id:1,stock_id:1,board_code:5:20,anonym:5:1\n1,1,RFUD,D\n2,1,RFUDA,A\n";
    if (!loadTable(dir, QStringLiteral("boards"), boards))
        return nullptr;
    return loadTable(dir, QStringLiteral("securities"), securitiesHeader(omitted) + rows);
}

// A curve that passes every validity rule, not yet attached.
inline PriceBased2dPlotCurve* validCurve(PriceBased2dPlot* plot, const QString& title, int type,
                                         const QVector<QPointF>& samples)
{
    auto* curve = new PriceBased2dPlotCurve(plot, title);
    curve->setDataType(type);
    curve->setStyle(type == PriceBased2dPlotCurve::CurKotirLine ? QwtPlotCurve::Sticks : QwtPlotCurve::Lines);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setPen(QPen(type == PriceBased2dPlotCurve::CurKotirLine ? QColor(Qt::red) : QColor(Qt::blue)));
    curve->setSamples(samples);
    return curve;
}

// A picker on the plot's canvas whose price step is read from the plot's futures record.
inline PriceBased2dPlotPicker* attachPicker(PriceBased2dPlot* plot)
{
    auto* picker = new PriceBased2dPlotPicker(plot->canvas());
    plot->setPicker(picker);
    picker->setPriceStep();
    return picker;
}

} // namespace PlotFixture
