#include "strikebybasecodemodel.h"

#include "fieldconstvalue.h"
#include "filterparams.h"
#include "table.h"

#include <algorithm>
#include <cmath>

namespace {

// Queued connections carry these types; registering them at load time spares every client.
const int s_metaTypesRegistered = [] {
    qRegisterMetaType<FilterParams>("FilterParams");
    qRegisterMetaType<decimal>("decimal");
    qRegisterMetaType<datetime>("datetime");
    qRegisterMetaType<Record>("Record");
    qRegisterMetaType<QList<Record>>("QList<Record>");
    QMetaType::registerConverter<decimal, QString>(&decimal::toString);
    QMetaType::registerConverter<decimal, double>(&decimal::toDouble);
    return 0;
}();

int column(const Table* table, const char* name)
{
    return table ? table->columnIndex(QLatin1String(name)) : -1;
}

} // namespace

StrikeByBaseCodeModel::StrikeByBaseCodeModel(Table* table, QObject* parent)
    : QAbstractTableModel(parent), m_table(table)
{
    m_columns.sectype = column(table, "sectype");
    m_columns.baseCode = column(table, "base_code");
    m_columns.strike = column(table, "strike");
    m_columns.sessId = column(table, "sess_id");
    m_columns.boardId = column(table, "board_id");
    m_columns.futIsinId = column(table, "fut_isin_id");
    m_columns.expdate = column(table, "expdate");
    m_columns.optionType = column(table, "option_type");
    if (!table)
        return;
    connect(table, &Table::rowsInserted, this, &StrikeByBaseCodeModel::refresh);
    connect(table, &Table::rowsChanged, this, &StrikeByBaseCodeModel::refresh);
    connect(table, &Table::rowsRemoved, this, &StrikeByBaseCodeModel::refresh);
    connect(table, &Table::tableReset, this, &StrikeByBaseCodeModel::refresh);
    connect(table, &QObject::destroyed, this, &StrikeByBaseCodeModel::refresh);
}

StrikeByBaseCodeModel::~StrikeByBaseCodeModel() = default;

void StrikeByBaseCodeModel::setBaseCode(const QString& baseCode)
{
    if (baseCode == m_baseCode)
        return;
    m_baseCode = baseCode;
    refresh();
}

QString StrikeByBaseCodeModel::baseCode() const
{
    return m_baseCode;
}

int StrikeByBaseCodeModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int StrikeByBaseCodeModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : 1;
}

QVariant StrikeByBaseCodeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.column() != 0 || index.row() >= m_rows.size())
        return QVariant();
    const decimal& value = m_rows.at(index.row()).strike;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return value.toDouble();
    case Qt::UserRole:
        return QVariant::fromValue(value);
    default:
        return QVariant();
    }
}

QVariant StrikeByBaseCodeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && section == 0 && role == Qt::DisplayRole)
        return tr("Strike");
    return QAbstractTableModel::headerData(section, orientation, role);
}

void StrikeByBaseCodeModel::sort(int column, Qt::SortOrder order)
{
    if (column != 0 || order == m_order)
        return;
    beginResetModel();
    m_order = order;
    std::reverse(m_rows.begin(), m_rows.end());
    endResetModel();
}

decimal StrikeByBaseCodeModel::strike(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).strike : decimal::zero;
}

double StrikeByBaseCodeModel::minStep() const
{
    double result = 0.0;
    for (int row = 1; row < m_rows.size(); ++row) {
        const double step =
            std::fabs(m_rows.at(row).strike.toDouble() - m_rows.at(row - 1).strike.toDouble());
        if (row == 1 || step < result)
            result = step;
    }
    return result;
}

Record StrikeByBaseCodeModel::record(const QModelIndex& index) const
{
    if (!index.isValid() || index.model() != this || index.row() >= m_rows.size())
        return Record();
    return m_rows.at(index.row()).record;
}

Table* StrikeByBaseCodeModel::table() const
{
    return m_table;
}

bool StrikeByBaseCodeModel::acceptsRow(const Record& row) const
{
    return m_table->dataPtr(row, m_columns.sessId).toInteger() != 0;
}

const StrikeByBaseCodeModel::Columns& StrikeByBaseCodeModel::columns() const
{
    return m_columns;
}

void StrikeByBaseCodeModel::prepareRefresh(const QList<Record>& candidates)
{
    Q_UNUSED(candidates)
}

QList<Record> StrikeByBaseCodeModel::optionSeries() const
{
    const Table* table = m_table;
    if (!table || m_columns.sectype < 0 || m_columns.baseCode < 0 || m_columns.strike < 0 ||
        m_columns.sessId < 0 || m_baseCode.isEmpty())
        return {};
    QList<Record> candidates;
    const QList<Record> all = table->masterIndex();
    for (const Record& row : all) {
        bool hasStrike = false;
        table->dataPtr(row, m_columns.strike, &hasStrike);
        if (hasStrike &&
            table->dataPtr(row, m_columns.sectype).toChar() == FieldConstValue::SecTypes::Option &&
            table->dataPtr(row, m_columns.baseCode).toString() == m_baseCode)
            candidates.append(row);
    }
    return candidates;
}

QVector<StrikeByBaseCodeModel::Row> StrikeByBaseCodeModel::collectRows(const QList<Record>& candidates) const
{
    const Table* table = m_table;
    // One row per distinct strike; the first option met stands for it.
    QVector<Row> rows;
    for (const Record& candidate : qAsConst(candidates)) {
        if (!acceptsRow(candidate))
            continue;
        const decimal value = table->dataPtr(candidate, m_columns.strike).toDecimal();
        const auto same = [&value](const Row& row) { return row.strike == value; };
        if (std::none_of(rows.cbegin(), rows.cend(), same))
            rows.append({value, candidate});
    }

    std::stable_sort(rows.begin(), rows.end(), [this](const Row& a, const Row& b) {
        return m_order == Qt::AscendingOrder ? a.strike < b.strike : b.strike < a.strike;
    });
    return rows;
}

namespace {

template <typename RowT>
bool isSubsequence(const QVector<RowT>& part, const QVector<RowT>& whole)
{
    int next = 0;
    for (const RowT& row : whole) {
        if (next < part.size() && part.at(next).strike == row.strike)
            ++next;
    }
    return next == part.size();
}

} // namespace

void StrikeByBaseCodeModel::refresh()
{
    // 1. Let a subclass see every option series of the base code, then keep the accepted ones.
    const QList<Record> candidates = optionSeries();
    prepareRefresh(candidates);
    const QVector<Row> fresh = collectRows(candidates);

    // 2. Announce the difference: insertions, removals, new representatives, or a reset.
    if (fresh.size() == m_rows.size() && isSubsequence(fresh, m_rows))
        replaceRecords(fresh);
    else if (fresh.size() > m_rows.size() && isSubsequence(m_rows, fresh))
        insertRuns(fresh);
    else if (fresh.size() < m_rows.size() && isSubsequence(fresh, m_rows))
        removeRuns(fresh);
    else
        resetRows(fresh);
}

void StrikeByBaseCodeModel::replaceRecords(const QVector<Row>& fresh)
{
    const bool changed = !std::equal(fresh.cbegin(), fresh.cend(), m_rows.cbegin(),
                                     [](const Row& a, const Row& b) { return a.record == b.record; });
    m_rows = fresh;
    if (changed)
        Q_EMIT dataChanged(index(0, 0), index(m_rows.size() - 1, 0));
}

void StrikeByBaseCodeModel::insertRuns(const QVector<Row>& fresh)
{
    for (int row = 0; row < fresh.size(); ++row) {
        if (row < m_rows.size() && m_rows.at(row).strike == fresh.at(row).strike)
            continue;
        // The run of new strikes ends where the next kept strike appears.
        int end = row;
        while (end < fresh.size() && (row >= m_rows.size() || m_rows.at(row).strike != fresh.at(end).strike))
            ++end;
        beginInsertRows(QModelIndex(), row, end - 1);
        for (int i = row; i < end; ++i)
            m_rows.insert(i, fresh.at(i));
        endInsertRows();
        row = end - 1;
    }
    m_rows = fresh;
}

void StrikeByBaseCodeModel::removeRuns(const QVector<Row>& fresh)
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (row < fresh.size() && m_rows.at(row).strike == fresh.at(row).strike)
            continue;
        // The run of vanished strikes ends at the next strike still present.
        int end = row;
        while (end < m_rows.size() && (row >= fresh.size() || m_rows.at(end).strike != fresh.at(row).strike))
            ++end;
        beginRemoveRows(QModelIndex(), row, end - 1);
        m_rows.remove(row, end - row);
        endRemoveRows();
    }
    m_rows = fresh;
}

void StrikeByBaseCodeModel::resetRows(const QVector<Row>& fresh)
{
    beginResetModel();
    m_rows = fresh;
    endResetModel();
}
