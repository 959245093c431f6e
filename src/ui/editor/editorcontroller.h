#pragma once

#include "workspace/editornavigator.h"

#include <QObject>
#include <QPointer>
#include <QRegularExpression>

#include <functional>

class GCodeEditor;

// The navigation the menus, the toolbar and the analysis panel ask of the
// editor on screen: go to a line, to an N block, to the next tool change or
// spindle speed, and open the find bar. Without an editor every request is a
// no-op (navigation beeps). Finding nothing is answered with the beep, never
// with a message.
//
// Patterns run on the whole text as UTF-16; the editor translates the match
// into its own positions.
class EditorController : public QObject, public EditorNavigator {
    Q_OBJECT

public:
    explicit EditorController(QObject *parent = nullptr);

    void setEditor(GCodeEditor *editor);
    GCodeEditor *editor() const { return m_editor; }

    // Test seam: what a failed search does (the desktop's beep by default).
    void setBeep(std::function<void()> beep);

    void goToLine(int line) override;
    void goToBlockN(qint64 number) override;
    // Selects the first match after the selection (at least one character on,
    // so repeating moves on), wrapping to the start of the text.
    void jumpToNext(const QRegularExpression &pattern);

    void showFind();
    void showReplace();

    // M6, M06, m6 — not M60 or M16.
    static const QRegularExpression &toolChangePattern();
    // S1200, not the S inside a word such as POS1.
    static const QRegularExpression &spindlePattern();

private:
    void beep();

    QPointer<GCodeEditor> m_editor;
    std::function<void()> m_beep;
};
