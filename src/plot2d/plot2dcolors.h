#pragma once

#include <QColor>

// Colours shared by the whole library. Internal linkage: every translation unit holds its own copy.

/// The current quote: its vertical line and its axis label.
static const QColor CurKotirCurveColor = QColor(Qt::red);
/// Volatility curves.
static const QColor VolatilityCurveColor = QColor(Qt::black);
/// Title of a ticked legend row.
static const QColor CheckedLabelColor = QColor(Qt::black);
/// Title of an unticked legend row, greyed to show that its curve is hidden.
static const QColor UncheckedLabelColor = QColor(Qt::darkGray);
