// datetime(const QString&) reads dates out of CSV files and settings: any text gives either a
// date of an accepted form or the invalid value.
#include "fuzzsupport.h"

#include <QDateTime>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    static const datetime invalid(QStringLiteral("not a date"));
    for (const QString& text : {QString::fromUtf8(bytes), QString::fromLatin1(bytes)}) {
        const datetime value(text);
        if (!datetime::isValidText(text)) {
            FuzzSupport::require(value == invalid, "rejected text gives the invalid value");
            continue;
        }
        // Accepted text denotes a time that Qt can show again: re-reading the canonical form of the
        // same instant gives the same value.
        const QDateTime shown = QDateTime::fromMSecsSinceEpoch(value.toMSecsSinceEpoch(), Qt::UTC);
        const QString canonical = shown.toString(QStringLiteral("yyyy.MM.dd HH:mm:ss.zzz"));
        if (shown.isValid() && shown.date().year() >= 1000 && shown.date().year() <= 9999)
            FuzzSupport::require(datetime(canonical) == value, "an accepted date re-reads to itself");
    }
    return 0;
}
