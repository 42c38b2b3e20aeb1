#pragma once

#include "datetime.h"
#include "decimal.h"
#include "platformglobal.h"

#include <QString>

// Definition of one table column. The type code comes first (see FieldsTypes::TypeCode).
struct PLATFORM_EXPORT FieldDef
{
    int type = 0;
    int size = 0; // decimals for decimal columns, maximum length for text, 0 otherwise
    QString name;

    int decimals() const { return size; }
    int length() const { return size; }
};

// A light view of one value of one record: column definition, storage, presence-flag byte, mask.
// The view stays valid as long as the record it was taken from.
class PLATFORM_EXPORT Field
{
public:
    Field() = default;
    Field(const FieldDef* def, const void* data, const unsigned char* flags, unsigned int mask)
        : m_def(def), m_data(data), m_flags(flags), m_mask(mask)
    {}

    bool isValid() const { return m_def && m_data && m_flags; }
    // True when the presence bits of this column are all set.
    bool hasValue() const { return m_flags && (*m_flags & m_mask) == m_mask; }
    bool isNull() const { return !hasValue(); }
    const FieldDef* definition() const { return m_def; }
    int type() const { return m_def ? m_def->type : 0; }

    // Conversions. A null field gives the neutral value of the target; a present value of a
    // refused type throws Exception("Incorrect type conversion.").
    int toInteger() const;
    qint64 toInteger64() const;
    double toDouble() const;
    decimal toDecimal() const;
    datetime toDatetime() const;
    // First character of a text value ('\0' when null or empty).
    char toChar() const;
    // Any type as text: integers and doubles in C locale, decimals with all places,
    // datetimes as "yyyy-MM-dd HH:mm:ss.zzz" (UTC), board lists as stored.
    QString toString() const;

private:
    const FieldDef* m_def = nullptr;
    const void* m_data = nullptr;
    const unsigned char* m_flags = nullptr;
    unsigned int m_mask = 0;
};
