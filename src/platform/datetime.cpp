#include "datetime.h"

#include <QDateTime>

namespace {

const char* const s_formats[] = {"yyyy.MM.dd HH:mm:ss.zzz", "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd",
                                 "yyyy-MM-dd"};

QDateTime parse(const QString& text)
{
    for (const char* format : s_formats) {
        const QDateTime parsed = QDateTime::fromString(text, QLatin1String(format));
        if (parsed.isValid())
            return parsed;
    }
    return QDateTime();
}

// QDateTime::fromString is general and slow (a parser object and a time-zone lookup per call); a file
// of quotes holds hundreds of thousands of dates in the canonical forms. Those are read here, digit by
// digit; anything else is left to QDateTime.
class CanonicalText
{
public:
    explicit CanonicalText(QStringView text) : m_text(text) {}

    bool read(qint64* msecs) const
    {
        // "yyyy.MM.dd HH:mm:ss.zzz", "yyyy-MM-dd HH:mm:ss", "yyyy.MM.dd" or "yyyy-MM-dd".
        const int size = m_text.size();
        if (size != 23 && size != 19 && size != 10)
            return false;
        const QChar separator =
            size == 23 || (size == 10 && at(4, QLatin1Char('.'))) ? QLatin1Char('.') : QLatin1Char('-');
        int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
        if (!number(0, 4, &year) || !at(4, separator) || !number(5, 2, &month) || !at(7, separator) ||
            !number(8, 2, &day))
            return false;
        if (size > 10 && (!at(10, QLatin1Char(' ')) || !number(11, 2, &hour) || !at(13, QLatin1Char(':')) ||
                          !number(14, 2, &minute) || !at(16, QLatin1Char(':')) || !number(17, 2, &second)))
            return false;
        if (size == 23 && (!at(19, QLatin1Char('.')) || !number(20, 3, &millisecond)))
            return false;
        if (year < 1 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 ||
            minute > 59 || second > 59)
            return false;
        const qint64 seconds = daysSinceEpoch(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
        *msecs = seconds * 1000 + millisecond;
        return true;
    }

private:
    bool at(int position, QChar c) const { return m_text.at(position) == c; }

    bool number(int position, int digits, int* value) const
    {
        *value = 0;
        for (int i = position; i < position + digits; ++i) {
            const char16_t c = m_text.at(i).unicode();
            if (c < u'0' || c > u'9')
                return false;
            *value = *value * 10 + (c - u'0');
        }
        return true;
    }

    static int daysInMonth(int year, int month)
    {
        static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        return month == 2 && leap ? 29 : days[month - 1];
    }

    // Days from 1970-01-01 in the proleptic Gregorian calendar, as QDate counts them.
    static qint64 daysSinceEpoch(int year, int month, int day)
    {
        const int y = month <= 2 ? year - 1 : year;
        const int era = y / 400; // year >= 1, so no negative rounding
        const int yearOfEra = y - era * 400;
        const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
        const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
        return static_cast<qint64>(era) * 146097 + dayOfEra - 719468;
    }

    QStringView m_text;
};

} // namespace

datetime::datetime(const QString& text)
{
    fromString(text, this);
}

bool datetime::isValidText(const QString& text)
{
    return fromString(text, nullptr);
}

bool datetime::fromString(QStringView text, datetime* result)
{
    qint64 msecs = 0;
    bool valid = CanonicalText(text).read(&msecs);
    if (!valid) {
        QDateTime parsed = parse(text.toString());
        valid = parsed.isValid();
        // The text is UTC wall-clock time: relabel it, do not shift it from local time.
        parsed.setTimeSpec(Qt::UTC);
        msecs = parsed.toMSecsSinceEpoch();
    }
    if (result)
        *result = datetime(msecs);
    return valid;
}
