// Saves what an X server shows (the root window) as PNG: the pixels on screen, not a fresh
// rendering, so a widget that was not repainted shows up stale.
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (argc != 2 || !QGuiApplication::primaryScreen())
        return 2;
    return QGuiApplication::primaryScreen()->grabWindow(0).save(QString::fromLocal8Bit(argv[1]), "PNG") ? 0
                                                                                                        : 1;
}
