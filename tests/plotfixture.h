#pragma once

#include "testsupport.h"

#include <plot2d/datastore.h>
#include <plot2d/icore.h>
#include <plot2d/pricebased2dplotcurve.h>
#include <plot2d/pricebased2dplotpicker.h>
#include <plot2d/table.h>

#include <QMap>
#include <QTemporaryDir>

// Securities fixtures of the plot and curve suites, written as CSV and loaded through the data layer.
namespace PlotFixture {

inline QByteArray securitiesHeader(const QList<QByteArray>& omitted = {})
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

// One row; unnamed fields are null. A futures contract of base "BR" on the anonymous board 1 by default.
inline QByteArray row(QMap<QByteArray, QByteArray> values, const QList<QByteArray>& omitted = {})
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

// Board 1 anonymous, board 2 addressed, and the given securities rows.
inline bool load(const QTemporaryDir& dir, const QByteArray& rows, const QList<QByteArray>& omitted = {})
{
    DataStore* store = ICore::instance()->dataStore();
    const QByteArray boards = "board_id:1,stock_id:1,board_code:5:20,anonym:5:1\n1,1,RFUD,D\n2,1,RFUDA,A\n";
    return store->loadCsv(QStringLiteral("boards"),
                          TestSupport::writeFile(dir.path(), "boards.csv", boards)) &&
           store->loadCsv(
               QStringLiteral("securities"),
               TestSupport::writeFile(dir.path(), "securities.csv", securitiesHeader(omitted) + rows));
}

// A curve that passes every validity rule (red sticks for the quote line), not yet attached.
inline PriceBased2dPlotCurve* validCurve(PriceBased2dPlot* plot, const QString& title, int type,
                                         const QVector<QPointF>& samples)
{
    const bool line = type == PriceBased2dPlotCurve::CurKotirLine;
    auto* curve = new PriceBased2dPlotCurve(plot, title);
    curve->setDataType(type);
    curve->setStyle(line ? QwtPlotCurve::Sticks : QwtPlotCurve::Lines);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine, true);
    curve->setPen(QPen(line ? Qt::red : Qt::blue));
    curve->setSamples(samples);
    return curve;
}

// A picker whose price step is read from the plot's futures record.
inline PriceBased2dPlotPicker* attachPicker(PriceBased2dPlot* plot)
{
    auto* picker = new PriceBased2dPlotPicker(plot->canvas());
    plot->setPicker(picker);
    picker->setPriceStep();
    return picker;
}

} // namespace PlotFixture
