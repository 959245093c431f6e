#include "appearance.h"

#include "varnpalette.h"

#include <QApplication>
#include <QGuiApplication>
#include <QStyle>
#include <QStyleFactory>
#include <QStyleHints>
#include <QtGlobal>

namespace {

// The platform's palette as it was before we first replaced it: once ours is
// installed, QApplication::palette() only ever answers with ours.
QPalette &platformPalette()
{
    static QPalette palette = QGuiApplication::palette();
    return palette;
}

void install(const QPalette &palette)
{
    platformPalette(); // remember the desktop's look before the first change
    if (QApplication::style()->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) != 0) {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    }
    QApplication::setPalette(palette);
}

void setBoth(QPalette &palette, QPalette::ColorRole role, const QColor &active, const QColor &disabled)
{
    palette.setColor(QPalette::Active, role, active);
    palette.setColor(QPalette::Inactive, role, active);
    palette.setColor(QPalette::Disabled, role, disabled);
}

} // namespace

bool Appearance::isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < 128;
}

bool Appearance::systemPrefersDark()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    switch (QGuiApplication::styleHints()->colorScheme()) {
    case Qt::ColorScheme::Dark:
        return true;
    case Qt::ColorScheme::Light:
        return false;
    default:
        break;
    }
#endif
    return isDark(platformPalette());
}

QPalette Appearance::lightPalette()
{
    QPalette p;
    const QColor text(0x1C, 0x1C, 0x1E);
    const QColor muted(0x9A, 0x9A, 0xA0);
    setBoth(p, QPalette::Window, QColor(0xF2, 0xF2, 0xF5), QColor(0xF2, 0xF2, 0xF5));
    setBoth(p, QPalette::WindowText, text, muted);
    setBoth(p, QPalette::Base, Qt::white, QColor(0xF7, 0xF7, 0xF9));
    setBoth(p, QPalette::AlternateBase, QColor(0xF7, 0xF8, 0xFA), QColor(0xF7, 0xF8, 0xFA));
    setBoth(p, QPalette::Text, text, muted);
    setBoth(p, QPalette::Button, QColor(0xFA, 0xFA, 0xFC), QColor(0xF2, 0xF2, 0xF5));
    setBoth(p, QPalette::ButtonText, text, muted);
    setBoth(p, QPalette::PlaceholderText, muted, muted);
    setBoth(p, QPalette::ToolTipBase, QColor(0xFF, 0xFF, 0xF4), QColor(0xFF, 0xFF, 0xF4));
    setBoth(p, QPalette::ToolTipText, text, muted);
    setBoth(p, QPalette::Highlight, VarnPalette::logoBlue(), QColor(0xC8, 0xC8, 0xCC));
    setBoth(p, QPalette::HighlightedText, Qt::white, text);
    setBoth(p, QPalette::Link, VarnPalette::logoBlue(), muted);
    setBoth(p, QPalette::BrightText, VarnPalette::danger(), VarnPalette::danger());
    setBoth(p, QPalette::Light, Qt::white, Qt::white);
    setBoth(p, QPalette::Midlight, QColor(0xE4, 0xE4, 0xE8), QColor(0xE4, 0xE4, 0xE8));
    setBoth(p, QPalette::Mid, QColor(0xC4, 0xC4, 0xCA), QColor(0xC4, 0xC4, 0xCA));
    setBoth(p, QPalette::Dark, QColor(0x8E, 0x8E, 0x93), QColor(0x8E, 0x8E, 0x93));
    setBoth(p, QPalette::Shadow, QColor(0x3A, 0x3A, 0x3C), QColor(0x3A, 0x3A, 0x3C));
    return p;
}

QPalette Appearance::darkPalette()
{
    QPalette p;
    const QColor text(0xE8, 0xE8, 0xEA);
    const QColor muted(0x76, 0x76, 0x7C);
    const QColor raised = VarnPalette::bg1().lighter(135);
    setBoth(p, QPalette::Window, VarnPalette::bg1(), VarnPalette::bg1());
    setBoth(p, QPalette::WindowText, text, muted);
    setBoth(p, QPalette::Base, VarnPalette::bg0(), VarnPalette::bg1());
    setBoth(p, QPalette::AlternateBase, VarnPalette::bg1(), VarnPalette::bg1());
    setBoth(p, QPalette::Text, text, muted);
    setBoth(p, QPalette::Button, raised, VarnPalette::bg1());
    setBoth(p, QPalette::ButtonText, text, muted);
    setBoth(p, QPalette::PlaceholderText, muted, muted);
    setBoth(p, QPalette::ToolTipBase, raised, raised);
    setBoth(p, QPalette::ToolTipText, text, muted);
    setBoth(p, QPalette::Highlight, VarnPalette::logoBlue(), raised);
    setBoth(p, QPalette::HighlightedText, Qt::white, text);
    setBoth(p, QPalette::Link, VarnPalette::logoCyan(), muted);
    setBoth(p, QPalette::BrightText, VarnPalette::danger(), VarnPalette::danger());
    setBoth(p, QPalette::Light, raised.lighter(130), raised.lighter(130));
    setBoth(p, QPalette::Midlight, raised, raised);
    setBoth(p, QPalette::Mid, VarnPalette::bg1(), VarnPalette::bg1());
    setBoth(p, QPalette::Dark, VarnPalette::bg0(), VarnPalette::bg0());
    setBoth(p, QPalette::Shadow, Qt::black, Qt::black);
    return p;
}

void Appearance::applySystem()
{
    install(systemPrefersDark() ? darkPalette() : lightPalette());
}

void Appearance::applyLight()
{
    install(lightPalette());
}

void Appearance::applyDark()
{
    install(darkPalette());
}
