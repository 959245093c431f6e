#pragma once

#include <QPalette>

// Light or dark look for the whole application: the Fusion style with a
// palette built from VarnPalette, so every widget, the editor included,
// follows one switch. "System" takes whichever of the two the desktop prefers.
//
// Widgets learn of a switch through their PaletteChange event; the editor
// answers it by changing its style colours only (see GCodeEditor).
//
// Main thread only, with a QApplication.
class Appearance {
public:
    static void applySystem();
    static void applyLight();
    static void applyDark();

    // The desktop's preferred scheme: the colour-scheme hint where Qt has one,
    // else the lightness of the platform's own window colour.
    static bool systemPrefersDark();

    // Whether a palette reads as dark: its window colour is nearer black than white.
    static bool isDark(const QPalette &palette);

    static QPalette lightPalette();
    static QPalette darkPalette();
};
