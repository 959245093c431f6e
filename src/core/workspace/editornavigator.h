#pragma once

#include <QtGlobal>

// What the model and the panels ask of the editor on screen: move the caret to
// a line or to an N block. The window's editor implements it; the model holds a
// pointer that is empty while no editor exists (the calls then do nothing).
// Failures to find a target are answered by the editor itself (a beep).
class EditorNavigator {
public:
    virtual ~EditorNavigator() = default;

    // Selects line `line` (1-based) and scrolls it into view; below 1 does nothing,
    // past the end selects the last line.
    virtual void goToLine(int line) = 0;
    // Selects the first line whose N word has this number (N12, n012, N0012).
    virtual void goToBlockN(qint64 number) = 0;
};
