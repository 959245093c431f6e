#pragma once

#include <QColor>

// The colours every view shares for status and brand. The same values serve
// light and dark appearance: they are chosen to read on both, so a view never
// has to ask which appearance is on before picking one.
class VarnPalette {
public:
    static QColor ready();   // a good state: connected, sent, no warnings
    static QColor warning(); // a cautionary state
    static QColor danger();  // a failed state
    static QColor accent();  // active controls

    static QColor logoCyan();
    static QColor logoBlue();
    static QColor bg0(); // darkest background tone
    static QColor bg1(); // raised background tone
    // Thin separator lines: the logo cyan, mostly transparent.
    static QColor hairline();
};
