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

} // namespace

datetime::datetime(const QString& text)
{
    QDateTime parsed = parse(text);
    // The text is UTC wall-clock time: relabel it, do not shift it from local time.
    parsed.setTimeSpec(Qt::UTC);
    m_msecs = parsed.toMSecsSinceEpoch();
}

bool datetime::isValidText(const QString& text)
{
    return parse(text).isValid();
}
