#pragma once

#include "platformglobal.h"

#include <QString>
#include <QStringList>

// The data layer's exception. Its destructor reports it once (dump) and never throws.
class PLATFORM_EXPORT Exception
{
public:
    explicit Exception(const QString& message);
    Exception(const Exception& other);
    Exception& operator=(const Exception& other);
    virtual ~Exception();

    QString message() const { return m_message; }
    QStringList details() const { return m_details; }
    void addDetail(const QString& detail) { m_details.append(detail); }

    // Writes the message to the debug log. Copies share one report.
    void dump() const;

private:
    QString m_message;
    QStringList m_details;
    mutable bool m_dumped = false;
};
