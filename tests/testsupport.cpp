#include "testsupport.h"

#include <plot2d/platform.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFont>

namespace TestSupport {

void initEnvironment()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSize(9);
    font.setStyleHint(QFont::SansSerif);
    QApplication::setFont(font);
}

QString sampleDataDir()
{
    return QStringLiteral(PLOT2D_SAMPLE_DATA_DIR);
}

bool loadSampleData(QString* error)
{
    DataStore* store = ICore::instance()->dataStore();
    const QDir dir(sampleDataDir());
    if (!store->loadCsv(QStringLiteral("boards"), dir.filePath(QStringLiteral("boards.csv")), error))
        return false;
    return store->loadCsv(QStringLiteral("securities"), dir.filePath(QStringLiteral("securities.csv")), error)
           != nullptr;
}

void clearData()
{
    ICore::instance()->dataStore()->clear();
}

QString writeFile(const QString& dir, const QString& fileName, const QByteArray& content)
{
    const QString path = QDir(dir).filePath(fileName);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(content);
    return path;
}

} // namespace TestSupport
