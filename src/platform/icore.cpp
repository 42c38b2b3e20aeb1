#include "icore.h"

#include "datastore.h"

ICore::ICore() = default;

ICore::~ICore() = default;

ICore* ICore::instance()
{
    static ICore core;
    return &core;
}

DataStore* ICore::dataStore() const
{
    static DataStore store;
    return &store;
}
