#pragma once

#include "platformglobal.h"

class DataStore;

// The application core: the entry point to the process-wide services.
class PLATFORM_EXPORT ICore
{
public:
    static ICore* instance();

    virtual ~ICore();
    virtual DataStore* dataStore() const;

protected:
    ICore();
};
