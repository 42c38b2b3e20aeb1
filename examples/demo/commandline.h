#pragma once

#include <QSize>
#include <QString>
#include <QStringList>

// The demo's command line. Parsing needs no display, so --help and --version work anywhere.
// Exit codes: 0 done, 1 a run-time failure (data, display, output file), 2 a usage error.
class CommandLine
{
public:
    enum ExitCode
    {
        Success = 0,
        Failure = 1,
        UsageError = 2,
    };

    static const QSize MinimumSize;
    static const QSize MaximumSize;

    // Needs a QCoreApplication. False when the program is to end now with exitCode(), after
    // printing output() to stdout and error() to stderr.
    bool parse(const QStringList& arguments);
    int exitCode() const { return m_exitCode; }
    QString output() const { return m_output; }
    QString error() const { return m_error; }
    static QString usageLine();

    QString dataDir; // empty: the shipped sample data
    QString baseCode = QStringLiteral("BR");
    QString settingsPath; // empty: the user's desk.ini
    quint32 seed = 1;
    bool live = true;
    QString screenshot; // render to this PNG and exit
    QSize size{1200, 700};
    bool sizeGiven = false; // otherwise a live desk comes back at its saved size
    QStringList uncheck;
    bool printLegendState = false;
    QString stateFile;

    // Runs that only render or report: no display needed, settings never written.
    bool headless() const { return !screenshot.isEmpty() || printLegendState; }

private:
    bool usageError(const QString& message);
    bool parseSize(const QString& text);

    int m_exitCode = Success;
    QString m_output;
    QString m_error;
};
