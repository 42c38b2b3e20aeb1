#pragma once

#include <QtGlobal>

#if defined(PLOT2D_LIBRARY)
#define PLOT2D_EXPORT Q_DECL_EXPORT
#else
#define PLOT2D_EXPORT Q_DECL_IMPORT
#endif
