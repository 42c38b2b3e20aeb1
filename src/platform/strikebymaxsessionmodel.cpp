#include "strikebymaxsessionmodel.h"

#include "table.h"

#include <QDateTime>

StrikeByMaxSessionModel::StrikeByMaxSessionModel(Table* table, QObject* parent)
    : StrikeByBaseCodeModel(table, parent)
{}

void StrikeByMaxSessionModel::setFilterParams(const FilterParams& params)
{
    if (params == m_filter)
        return;
    m_filter = params;
    refresh();
}

FilterParams StrikeByMaxSessionModel::filterParams() const
{
    return m_filter;
}

int StrikeByMaxSessionModel::maxSession() const
{
    return m_maxSession;
}

void StrikeByMaxSessionModel::prepareRefresh(const QList<Record>& candidates)
{
    m_maxSession = 0;
    for (const Record& row : candidates)
        m_maxSession = qMax(m_maxSession, table()->dataPtr(row, columns().sessId).toInteger());
}

namespace {

int yyyymmdd(const datetime& moment)
{
    const QDate date = QDateTime::fromMSecsSinceEpoch(moment.toMSecsSinceEpoch(), Qt::UTC).date();
    return date.year() * 10000 + date.month() * 100 + date.day();
}

bool matches(int wanted, int actual)
{
    return wanted == -1 || wanted == actual;
}

} // namespace

bool StrikeByMaxSessionModel::acceptsRow(const Record& row) const
{
    const Table* source = table();
    const Columns& c = columns();
    if (!StrikeByBaseCodeModel::acceptsRow(row) || source->dataPtr(row, c.sessId).toInteger() != m_maxSession)
        return false;
    return matches(m_filter.boardId, source->dataPtr(row, c.boardId).toInteger()) &&
           matches(m_filter.futIsinId, source->dataPtr(row, c.futIsinId).toInteger()) &&
           matches(m_filter.expDate, yyyymmdd(source->dataPtr(row, c.expdate).toDatetime())) &&
           matches(m_filter.optionType,
                   static_cast<unsigned char>(source->dataPtr(row, c.optionType).toChar()));
}
