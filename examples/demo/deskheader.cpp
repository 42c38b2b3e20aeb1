#include "deskheader.h"

#include "deskplot.h"

#include <plot2d/platform.h>

#include <QDateTime>

#include <cmath>

namespace {

QString utcText(qint64 msecs, const QString& format)
{
    return QDateTime::fromMSecsSinceEpoch(msecs, Qt::UTC).toString(format);
}

} // namespace

DeskHeader::DeskHeader(QWidget* parent) : QLabel(parent)
{
    setObjectName(QStringLiteral("deskHeader"));
    setTextFormat(Qt::RichText);
    setContentsMargins(8, 4, 8, 4);
}

void DeskHeader::showContract(DeskPlot* plot)
{
    const Record future = plot->getFuture();
    if (future.isNull())
        return;
    const Table* table = plot->securitiesTable();
    const int codeColumn = table->columnIndex(QStringLiteral("sec_code"));
    const QString contract =
        codeColumn < 0 ? plot->baseCode() : table->dataPtr(future, codeColumn).toString();
    const qint64 valuation = table->dataPtr(future, plot->securitiesColumn(PriceBased2dPlot::SecLasttime))
                                 .toDatetime()
                                 .toMSecsSinceEpoch();
    const qint64 expiry = plot->portfolio().expiry();
    const QString dayFormat = QStringLiteral("yyyy-MM-dd");
    m_line =
        tr("<b>%1</b> &nbsp; options expire %2 (%3 days left) &nbsp; volatility %4 % &nbsp; valued at %5 UTC")
            .arg(contract, expiry > 0 ? utcText(expiry, dayFormat) : tr("unknown"))
            .arg(std::ceil(plot->yearsToExpiry() * 365.0))
            .arg(QString::number(100.0 * plot->volatility(), 'f', 1),
                 utcText(valuation, QStringLiteral("yyyy-MM-dd HH:mm")));
    showText();
}

void DeskHeader::setWarnings(const QStringList& warnings)
{
    m_warnings = warnings;
    showText();
}

void DeskHeader::showText()
{
    QString text = m_line;
    for (const QString& warning : m_warnings)
        text += QStringLiteral("<br><span style=\"color:#c00000\">&#9888; %1</span>")
                    .arg(warning.toHtmlEscaped());
    setText(text);
}
