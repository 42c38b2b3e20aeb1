#pragma once

#include <QtGlobal>

/// Marks the library's exported classes and functions: exported while the library itself is
/// built, imported by its clients.
#if defined(PLOT2D_LIBRARY)
#define PLOT2D_EXPORT Q_DECL_EXPORT
#else
#define PLOT2D_EXPORT Q_DECL_IMPORT
#endif
