// Pixel probes for what the demo rendered or an X server shows.
#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>

#include <algorithm>
#include <functional>

namespace ScreenPixels {

// Columns of `area` holding at least `least` pixels that `accept` takes.
inline QList<int> columns(const QImage& image, const QRect& area, const std::function<bool(QColor)>& accept,
                          int least)
{
    QList<int> found;
    for (int x = area.left(); x <= area.right(); ++x) {
        int count = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            count += accept(image.pixelColor(x, y));
        if (count >= least)
            found.append(x);
    }
    return found;
}

// Takes the pixels within `tolerance` of `color` in every channel.
inline std::function<bool(QColor)> near(const QColor& color, int tolerance)
{
    return [=](QColor c) {
        return std::max({qAbs(c.red() - color.red()), qAbs(c.green() - color.green()),
                         qAbs(c.blue() - color.blue())}) <= tolerance;
    };
}

} // namespace ScreenPixels
