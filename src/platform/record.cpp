#include "record.h"

#include "fieldstypes.h"
#include "recorddata_p.h"
#include "table.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

RowLayout::RowLayout(const QVector<FieldDef>& columns) : defs(columns), textSlots(columns.size(), -1)
{
    for (int column = 0; column < columns.size(); ++column) {
        if (isTextual(columns.at(column)))
            textSlots[column] = textCount++;
    }
}

bool isTextual(const FieldDef& def)
{
    return def.type == FieldsTypes::Text || def.type == FieldsTypes::BoardList;
}

RecordData::RecordData(QSharedPointer<const RowLayout> rowLayout, const Table* owner)
    : layout(std::move(rowLayout))
    , table(owner)
    , cells(layout->defs.size())
    , texts(layout->textCount)
    , flags((layout->defs.size() + 7) / 8)
{
    std::fill(flags.begin(), flags.end(), 0);
}

int RecordData::columnIndex(const QString& name) const
{
    for (int column = 0; column < columnCount(); ++column) {
        if (layout->defs.at(column).name == name)
            return column;
    }
    return -1;
}

void RecordData::setPresent(int column, bool present)
{
    const unsigned char mask = static_cast<unsigned char>(1u << column % 8);
    if (present)
        flags[column / 8] |= mask;
    else
        flags[column / 8] &= static_cast<unsigned char>(~mask);
}

Field RecordData::field(int column) const
{
    const FieldDef& def = layout->defs.at(column);
    const void* data =
        isTextual(def) ? static_cast<const void*>(&text(column)) : static_cast<const void*>(&cells[column]);
    return Field(&def, data, &flags[column / 8], 1u << column % 8);
}

void RecordData::assignValues(const RecordData& other)
{
    std::copy(other.cells.cbegin(), other.cells.cend(), cells.begin());
    std::copy(other.texts.cbegin(), other.texts.cend(), texts.begin());
    std::copy(other.flags.cbegin(), other.flags.cend(), flags.begin());
}

namespace {

template <typename T>
int threeWay(const T& a, const T& b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

bool fitsInteger32(qint64 value)
{
    return value >= std::numeric_limits<qint32>::min() && value <= std::numeric_limits<qint32>::max();
}

bool toInteger64(const QVariant& value, qint64* result)
{
    bool ok = false;
    if (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float) {
        const double real = value.toDouble();
        ok = std::isfinite(real) && real == std::trunc(real) && std::fabs(real) < 9.2e18;
        *result = ok ? static_cast<qint64>(real) : 0;
        return ok;
    }
    *result = value.toLongLong(&ok);
    return ok;
}

bool toDecimal(const QVariant& value, int decimals, decimal* result)
{
    if (value.userType() == qMetaTypeId<decimal>()) {
        // Rescaling through the text form keeps the value exact or refuses it.
        return decimal::fromString(value.value<decimal>().toString(), static_cast<short>(decimals), result);
    }
    if (value.userType() == QMetaType::QByteArray)
        return decimal::fromString(value.toString(), static_cast<short>(decimals), result);
    bool ok = false;
    const double real = value.toDouble(&ok);
    if (!ok || !std::isfinite(real))
        return false;
    *result = decimal::fromDouble(real, static_cast<short>(decimals));
    return true;
}

bool toDatetime(const QVariant& value, datetime* result)
{
    switch (value.userType()) {
    case QMetaType::QDateTime:
        *result = datetime(value.toDateTime().toMSecsSinceEpoch());
        return value.toDateTime().isValid();
    case QMetaType::QDate:
        *result = datetime(QDateTime(value.toDate(), QTime(0, 0), Qt::UTC).toMSecsSinceEpoch());
        return value.toDate().isValid();
    default: {
        qint64 msecs = 0;
        if (!toInteger64(value, &msecs))
            return false;
        *result = datetime(msecs);
        return true;
    }
    }
}

} // namespace

int compareKeys(const RecordData& a, const RecordData& b)
{
    const bool aHas = a.hasValue(0);
    const bool bHas = b.hasValue(0);
    if (!aHas || !bHas)
        return threeWay(aHas, bHas);
    switch (a.layout->defs.at(0).type) {
    case FieldsTypes::Integer:
        return threeWay(a.cells[0].i32, b.cells[0].i32);
    case FieldsTypes::Integer64:
        return threeWay(a.cells[0].i64, b.cells[0].i64);
    case FieldsTypes::Double:
        return threeWay(a.cells[0].real, b.cells[0].real);
    case FieldsTypes::Decimal:
        return decimal::compare(a.cells[0].dec, b.cells[0].dec);
    case FieldsTypes::DateTime:
        return threeWay(a.cells[0].moment, b.cells[0].moment);
    default:
        return threeWay(QString::compare(a.text(0), b.text(0)), 0);
    }
}

std::vector<int> keyOrder(const std::vector<const RecordData*>& rows)
{
    std::vector<int> order(rows.size());
    const int type = rows.empty() ? 0 : rows.front()->layout->defs.at(0).type;
    if (type != FieldsTypes::Integer && type != FieldsTypes::Integer64 && type != FieldsTypes::DateTime) {
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return compareKeys(*rows[a], *rows[b]) < 0; });
        return order;
    }
    // Integer keys are copied out once: comparing rows in place would read two rows per comparison.
    std::vector<std::pair<qint64, int>> keys;
    keys.reserve(rows.size());
    for (size_t i = 0; i < rows.size(); ++i) {
        const Cell& key = rows[i]->cells[0];
        const qint64 value = type == FieldsTypes::Integer     ? key.i32
                             : type == FieldsTypes::Integer64 ? key.i64
                                                              : key.moment.toMSecsSinceEpoch();
        keys.emplace_back(value, static_cast<int>(i));
    }
    std::sort(keys.begin(), keys.end()); // the position breaks ties: stable
    std::transform(keys.cbegin(), keys.cend(), order.begin(), [](const auto& key) { return key.second; });
    return order;
}

bool hasUnorderedKey(const RecordData& row)
{
    return row.hasValue(0) && row.layout->defs.at(0).type == FieldsTypes::Double &&
           std::isnan(row.cells[0].real);
}

bool textFits(const FieldDef& def, int length)
{
    return def.type != FieldsTypes::Text || def.length() <= 0 || length <= def.length();
}

bool convertText(const FieldDef& def, const QStringRef& text, Cell* cell)
{
    bool ok = false;
    switch (def.type) {
    case FieldsTypes::Integer: {
        const qint64 integer = text.toLongLong(&ok);
        ok = ok && fitsInteger32(integer);
        cell->i32 = static_cast<qint32>(integer);
        return ok;
    }
    case FieldsTypes::Integer64:
        cell->i64 = text.toLongLong(&ok);
        return ok;
    case FieldsTypes::Double:
        cell->real = text.toDouble(&ok);
        return ok;
    case FieldsTypes::Decimal:
        return decimal::fromString(QStringView(text), static_cast<short>(def.decimals()), &cell->dec);
    case FieldsTypes::DateTime:
        return datetime::fromString(text, &cell->moment);
    default:
        return false;
    }
}

bool convertValue(const FieldDef& def, const QVariant& value, Cell* cell, QString* text)
{
    // Text reads as the loader reads a file's cell, so a typed value and a loaded one agree.
    if (value.userType() == QMetaType::QString && !isTextual(def)) {
        const QString string = value.toString();
        return convertText(def, QStringRef(&string), cell);
    }
    switch (def.type) {
    case FieldsTypes::Integer: {
        qint64 integer = 0;
        if (!toInteger64(value, &integer) || !fitsInteger32(integer))
            return false;
        cell->i32 = static_cast<qint32>(integer);
        return true;
    }
    case FieldsTypes::Integer64:
        return toInteger64(value, &cell->i64);
    case FieldsTypes::Double: {
        bool ok = false;
        cell->real = value.toDouble(&ok);
        return ok;
    }
    case FieldsTypes::Decimal:
        return toDecimal(value, def.decimals(), &cell->dec);
    case FieldsTypes::Text:
    case FieldsTypes::BoardList:
        if (!value.canConvert<QString>())
            return false;
        *text = value.toString();
        return textFits(def, text->size());
    case FieldsTypes::DateTime:
        return toDatetime(value, &cell->moment);
    default:
        return false;
    }
}

const Table* Record::table() const
{
    return d ? d->table.data() : nullptr;
}

bool Record::isAttached() const
{
    return d && d->attached;
}

bool Record::setValue(int column, const QVariant& value)
{
    if (!d || d->attached || column < 0 || column >= d->columnCount())
        return false;
    if (!value.isValid()) {
        d->setPresent(column, false);
        return true;
    }
    Cell cell;
    QString text;
    if (!convertValue(d->layout->defs.at(column), value, &cell, &text))
        return false;
    if (isTextual(d->layout->defs.at(column)))
        d->text(column) = text;
    else
        d->cells[column] = cell;
    d->setPresent(column, true);
    return true;
}

bool Record::setValue(const QString& columnName, const QVariant& value)
{
    return d && setValue(d->columnIndex(columnName), value);
}

QVariant Record::value(int column) const
{
    if (!d || column < 0 || column >= d->columnCount() || !d->hasValue(column))
        return QVariant();
    const Cell& cell = d->cells[column];
    switch (d->layout->defs.at(column).type) {
    case FieldsTypes::Integer:
        return cell.i32;
    case FieldsTypes::Integer64:
        return cell.i64;
    case FieldsTypes::Double:
        return cell.real;
    case FieldsTypes::Decimal:
        return QVariant::fromValue(cell.dec);
    case FieldsTypes::DateTime:
        return QDateTime::fromMSecsSinceEpoch(cell.moment.toMSecsSinceEpoch(), Qt::UTC);
    default:
        return d->text(column);
    }
}

QVariant Record::value(const QString& columnName) const
{
    return d ? value(d->columnIndex(columnName)) : QVariant();
}

Record Record::clone() const
{
    if (!d)
        return Record();
    QSharedPointer<RecordData> copy(new RecordData(*d));
    copy->attached = false;
    return Record(copy);
}
