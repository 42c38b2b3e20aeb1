#pragma once

#include <QColor>

// Colours shared by the whole library. Internal linkage: every translation unit holds its own copy.
static const QColor CurKotirCurveColor = QColor(Qt::red);
static const QColor VolatilityCurveColor = QColor(Qt::black);
static const QColor CheckedLabelColor = QColor(Qt::black);
static const QColor UncheckedLabelColor = QColor(Qt::darkGray);
