#pragma once

#include "platformglobal.h"

#include <QMetaType>
#include <QString>
#include <QStringView>

// Milliseconds since 1970-01-01 00:00 UTC.
class PLATFORM_EXPORT datetime
{
public:
    constexpr datetime() = default;
    constexpr explicit datetime(qint64 msecsSinceEpoch) : m_msecs(msecsSinceEpoch) {}
    // Accepts "yyyy.MM.dd HH:mm:ss.zzz", "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd" and "yyyy-MM-dd",
    // read as UTC wall-clock time. Other text yields the invalid date-time's value.
    explicit datetime(const QString& text);

    qint64 toMSecsSinceEpoch() const { return m_msecs; }
    // True when `text` matched one of the accepted forms.
    static bool isValidText(const QString& text);
    // Reads `text` as the constructor does into `result` (when given); false when it matched no form.
    static bool fromString(QStringView text, datetime* result);

    friend bool operator==(datetime a, datetime b) { return a.m_msecs == b.m_msecs; }
    friend bool operator!=(datetime a, datetime b) { return a.m_msecs != b.m_msecs; }
    friend bool operator<(datetime a, datetime b) { return a.m_msecs < b.m_msecs; }
    friend bool operator>(datetime a, datetime b) { return a.m_msecs > b.m_msecs; }
    friend bool operator<=(datetime a, datetime b) { return a.m_msecs <= b.m_msecs; }
    friend bool operator>=(datetime a, datetime b) { return a.m_msecs >= b.m_msecs; }

private:
    qint64 m_msecs = 0;
};

Q_DECLARE_METATYPE(datetime)
