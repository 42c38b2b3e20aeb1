#include "field.h"

#include "exception.h"
#include "fieldstypes.h"

#include <QDateTime>
#include <QLocale>

#include <limits>

namespace {

[[noreturn]] void throwIncorrectConversion()
{
    throw Exception(QStringLiteral("Incorrect type conversion."));
}

template <typename T>
const T& cell(const void* data)
{
    return *static_cast<const T*>(data);
}

} // namespace

int Field::toInteger() const
{
    if (!hasValue())
        return 0;
    switch (type()) {
    case FieldsTypes::Integer:
        return cell<qint32>(m_data);
    case FieldsTypes::Integer64: {
        const qint64 value = cell<qint64>(m_data);
        return static_cast<int>(
            qBound<qint64>(std::numeric_limits<int>::min(), value, std::numeric_limits<int>::max()));
    }
    default:
        throwIncorrectConversion();
    }
}

qint64 Field::toInteger64() const
{
    if (!hasValue())
        return 0;
    switch (type()) {
    case FieldsTypes::Integer:
        return cell<qint32>(m_data);
    case FieldsTypes::Integer64:
        return cell<qint64>(m_data);
    default:
        throwIncorrectConversion();
    }
}

double Field::toDouble() const
{
    if (!hasValue())
        return 0.0;
    switch (type()) {
    case FieldsTypes::Integer:
    case FieldsTypes::Integer64:
        return static_cast<double>(toInteger64());
    case FieldsTypes::Double:
        return cell<double>(m_data);
    case FieldsTypes::Decimal:
        return toDecimal().toDouble();
    default:
        throwIncorrectConversion();
    }
}

decimal Field::toDecimal() const
{
    if (!hasValue())
        return decimal::zero;
    if (type() != FieldsTypes::Decimal)
        throwIncorrectConversion();
    return cell<decimal>(m_data);
}

datetime Field::toDatetime() const
{
    if (!hasValue())
        return datetime();
    switch (type()) {
    case FieldsTypes::DateTime:
        return cell<datetime>(m_data);
    case FieldsTypes::Text:
        return datetime(toString());
    default:
        throwIncorrectConversion();
    }
}

char Field::toChar() const
{
    if (!hasValue())
        return '\0';
    if (type() != FieldsTypes::Text)
        throwIncorrectConversion();
    const QString& text = cell<QString>(m_data);
    return text.isEmpty() ? '\0' : text.at(0).toLatin1();
}

QString Field::toString() const
{
    if (!hasValue())
        return QString();
    switch (type()) {
    case FieldsTypes::Integer:
    case FieldsTypes::Integer64:
        return QString::number(toInteger64());
    case FieldsTypes::Double:
        return QString::number(cell<double>(m_data), 'g', QLocale::FloatingPointShortest);
    case FieldsTypes::Decimal:
        return cell<decimal>(m_data).toString();
    case FieldsTypes::Text:
    case FieldsTypes::BoardList:
        return cell<QString>(m_data);
    case FieldsTypes::DateTime:
        return QDateTime::fromMSecsSinceEpoch(cell<datetime>(m_data).toMSecsSinceEpoch(), Qt::UTC)
            .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    default:
        throwIncorrectConversion();
    }
}
