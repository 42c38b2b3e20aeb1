#pragma once

#include <QtGlobal>

#if defined(PLOT2D_PLATFORM_LIBRARY)
#define PLATFORM_EXPORT Q_DECL_EXPORT
#else
#define PLATFORM_EXPORT Q_DECL_IMPORT
#endif
