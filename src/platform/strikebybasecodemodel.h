#pragma once

#include "decimal.h"
#include "platformglobal.h"
#include "record.h"

#include <QAbstractTableModel>
#include <QPointer>
#include <QVector>

class Table;

// The distinct strikes of the option series (sectype 'O') of one base code whose sess_id is not 0,
// one row per strike, over a "securities" table. Follows the table: added strikes arrive as
// rowsInserted, vanished ones as rowsRemoved, any other change of the list as modelReset.
class PLATFORM_EXPORT StrikeByBaseCodeModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit StrikeByBaseCodeModel(Table* table, QObject* parent = nullptr);
    ~StrikeByBaseCodeModel() override;

    void setBaseCode(const QString& baseCode);
    QString baseCode() const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // Column 0 only; Qt::AscendingOrder gives ascending strikes.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    // The strike of a row; the zero decimal for a row out of range.
    decimal strike(int row) const;
    // The smallest difference between neighbouring distinct strikes; 0 with fewer than two.
    double minStep() const;
    // A representative option of the row's strike, or a null record.
    Record record(const QModelIndex& index) const;

    Table* table() const;

protected:
    // Whether an option row belongs to the model; the base accepts every series of the base code
    // with a non-zero sess_id.
    virtual bool acceptsRow(const Record& row) const;
    // Re-reads the table and announces the difference.
    void refresh();
    // Columns of the table the model reads, -1 when absent.
    struct Columns
    {
        int sectype = -1, baseCode = -1, strike = -1, sessId = -1, boardId = -1, futIsinId = -1, expdate = -1,
            optionType = -1;
    };
    const Columns& columns() const;

    // Called by refresh() before the rows are filtered: lets a subclass look at all candidates.
    virtual void prepareRefresh(const QList<Record>& candidates);

private:
    struct Row
    {
        decimal strike;
        Record record;
    };
    // The option series of the base code, in master-index order.
    QList<Record> optionSeries() const;
    // One row per distinct strike of the accepted candidates, in the model's order.
    QVector<Row> collectRows(const QList<Record>& candidates) const;
    // The four ways refresh() announces a new list of rows.
    void replaceRecords(const QVector<Row>& fresh);
    void insertRuns(const QVector<Row>& fresh);
    void removeRuns(const QVector<Row>& fresh);
    void resetRows(const QVector<Row>& fresh);

    QPointer<Table> m_table;
    QString m_baseCode;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    QVector<Row> m_rows;
    Columns m_columns;
};
