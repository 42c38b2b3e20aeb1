// Pixel probes for what the demo rendered or an X server shows.
#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>

namespace ScreenPixels {

// Columns of `area` holding at least `least` pixels within `tolerance` of `color` in every channel.
inline QList<int> columns(const QImage& image, const QRect& area, const QColor& color, int tolerance,
                          int least)
{
    const auto near = [&](QColor c) {
        return qAbs(c.red() - color.red()) <= tolerance && qAbs(c.green() - color.green()) <= tolerance &&
               qAbs(c.blue() - color.blue()) <= tolerance;
    };
    QList<int> found;
    for (int x = area.left(); x <= area.right(); ++x) {
        int count = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            count += near(image.pixelColor(x, y));
        if (count >= least)
            found.append(x);
    }
    return found;
}

} // namespace ScreenPixels
