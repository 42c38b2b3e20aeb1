// The CSV loader reads files the plot's tables are built from: arbitrary bytes must load or be
// refused with a message, and every loaded field must read back.
#include "fuzzsupport.h"

#include <QFile>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    QCoreApplication* app = new QCoreApplication(*argc, *argv);
    Q_UNUSED(app);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("input.csv"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char*>(data), qint64(size));
    }

    DataStore* store = ICore::instance()->dataStore();
    QString error;
    Table* table = store->loadCsv(QStringLiteral("fuzz"), path, &error);
    FuzzSupport::require(table || !error.isEmpty(), "a refused file says why");
    if (table) {
        for (const Record& record : table->masterIndex()) {
            for (int column = 0; column < table->columnCount(); ++column) {
                bool hasValue = false;
                const Field field = table->dataPtr(record, column, &hasValue);
                FuzzSupport::require(field.isValid(), "a loaded column has a field");
                if (hasValue)
                    (void)field.toString();
                (void)record.value(column);
            }
        }
    }
    store->clear();
    return 0;
}
