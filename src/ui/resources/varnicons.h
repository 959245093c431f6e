#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// The icons of the window. Each name maps to the desktop theme's icon where
// the freedesktop naming has an equivalent, so the program looks at home on
// the user's desktop; otherwise, and whenever the theme has nothing, to our
// own line drawing bundled with the program.
//
// Bundled icons are small SVG files drawn in the application palette's text
// colour at paint time, so they follow a switch between light and dark
// without being reloaded. Only the subset of SVG our own files use is read
// (see svgicon.cpp); a name we do not bundle yields a null icon, which a test
// catches before a user ever sees an empty square.
namespace VarnIcons {

// Theme first, bundled second.
QIcon icon(const QString &name);
// Always the bundled drawing; `tint` replaces the text colour when valid
// (the inspector's warning and "no warnings" marks).
QIcon bundled(const QString &name, const QColor &tint = QColor());
// Every bundled name, for the test that each one draws something.
QStringList bundledNames();

} // namespace VarnIcons
