#include "editorcontroller.h"

#include "gcodeeditor.h"

#include <QApplication>

namespace {

QRegularExpression compiled(const QString &pattern)
{
    QRegularExpression re(pattern);
    if (!re.isValid()) {
        qFatal("navigation pattern does not compile: %s", qPrintable(re.errorString()));
    }
    re.optimize();
    return re;
}

} // namespace

EditorController::EditorController(QObject *parent) : QObject(parent), m_beep([] { QApplication::beep(); }) {}

void EditorController::setEditor(GCodeEditor *editor)
{
    m_editor = editor;
}

void EditorController::setBeep(std::function<void()> beep)
{
    m_beep = std::move(beep);
}

void EditorController::beep()
{
    if (m_beep) {
        m_beep();
    }
}

const QRegularExpression &EditorController::toolChangePattern()
{
    static const QRegularExpression re = compiled(QStringLiteral("(?<![0-9])[Mm]0*6(?![0-9])"));
    return re;
}

const QRegularExpression &EditorController::spindlePattern()
{
    static const QRegularExpression re = compiled(QStringLiteral("(?<![0-9A-Za-z])[Ss][0-9]+"));
    return re;
}

void EditorController::goToLine(int line)
{
    if (!m_editor || line < 1) {
        return;
    }
    m_editor->flushEdits();
    // Past the last line lands on the last one (the empty end after a final
    // line break counts as a line, as the caret can stand there).
    const long lines = m_editor->SendScintilla(QsciScintillaBase::SCI_GETLINECOUNT);
    const long target = std::min<long>(line, lines) - 1;
    const qsizetype start = m_editor->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, target);
    const qsizetype end = target + 1 < lines
                              ? m_editor->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, target + 1)
                              : m_editor->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
    const qsizetype from16 = m_editor->toUtf16(start);
    m_editor->selectAndReveal(from16, m_editor->toUtf16(end) - from16);
}

void EditorController::goToBlockN(qint64 number)
{
    if (!m_editor) {
        return;
    }
    const QRegularExpression pattern(QStringLiteral("(?<![0-9])[Nn]0*%1(?![0-9])").arg(number));
    if (!pattern.isValid()) {
        return;
    }
    const QRegularExpressionMatch match = pattern.match(m_editor->wholeText());
    if (!match.hasMatch()) {
        beep();
        return;
    }
    const long line = m_editor->SendScintilla(QsciScintillaBase::SCI_LINEFROMPOSITION,
                                              static_cast<unsigned long>(m_editor->toBytes(match.capturedStart())));
    goToLine(int(line + 1));
}

void EditorController::jumpToNext(const QRegularExpression &pattern)
{
    if (!m_editor) {
        beep();
        return;
    }
    const QString text = m_editor->wholeText();
    if (text.isEmpty()) {
        return;
    }
    const qsizetype from = std::min(
        text.size(), m_editor->selectionStart16() + std::max<qsizetype>(m_editor->selectionLength16(), 1));
    QRegularExpressionMatch match = pattern.match(text, from);
    if (!match.hasMatch()) {
        match = pattern.match(text);
    }
    if (!match.hasMatch()) {
        beep();
        return;
    }
    m_editor->selectAndReveal(match.capturedStart(), match.capturedLength());
}

void EditorController::showFind()
{
    if (!m_editor) {
        beep();
        return;
    }
    m_editor->showFindBar(false);
}

void EditorController::showReplace()
{
    if (!m_editor) {
        beep();
        return;
    }
    m_editor->showFindBar(true);
}
