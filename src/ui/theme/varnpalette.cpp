#include "varnpalette.h"

// QColor is a small value; building one per call is cheaper than guarding a
// shared instance, and the values never change.

QColor VarnPalette::ready()
{
    return QColor(0x34, 0xC7, 0x59);
}

QColor VarnPalette::warning()
{
    return QColor(0xFF, 0x95, 0x00);
}

QColor VarnPalette::danger()
{
    return QColor(0xFF, 0x3B, 0x30);
}

QColor VarnPalette::accent()
{
    return QColor::fromRgbF(0.35f, 0.62f, 1.0f);
}

QColor VarnPalette::logoCyan()
{
    return QColor(41, 182, 246);
}

QColor VarnPalette::logoBlue()
{
    return QColor(30, 136, 229);
}

QColor VarnPalette::bg0()
{
    return QColor(5, 10, 26);
}

QColor VarnPalette::bg1()
{
    return QColor(10, 20, 40);
}

QColor VarnPalette::hairline()
{
    QColor color = logoCyan();
    color.setAlphaF(0.16f);
    return color;
}
