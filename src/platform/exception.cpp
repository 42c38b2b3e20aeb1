#include "exception.h"

#include <QDebug>

Exception::Exception(const QString& message) : m_message(message) {}

// A copy takes over the pending report, so that however often the exception is copied while
// it propagates, exactly one of the copies reports it.
Exception::Exception(const Exception& other)
    : m_message(other.m_message), m_details(other.m_details), m_dumped(other.m_dumped)
{
    other.m_dumped = true;
}

Exception& Exception::operator=(const Exception& other)
{
    if (this != &other) {
        m_message = other.m_message;
        m_details = other.m_details;
        m_dumped = other.m_dumped;
        other.m_dumped = true;
    }
    return *this;
}

Exception::~Exception()
{
    try {
        dump();
    } catch (...) {
    }
}

void Exception::dump() const
{
    if (m_dumped)
        return;
    m_dumped = true;
    QDebug log = qWarning().noquote();
    log << "Exception:" << m_message;
    for (const QString& detail : m_details)
        log << "\n  " << detail;
}
