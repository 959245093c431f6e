#pragma once

#include "toolpath/toolpathrestart.h"

#include <QDialog>
#include <QTimer>

class AppModel;
class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QSpinBox;

// "Send from Line": carries a program on from one of its lines after a broken
// tool or a stop. It shows exactly what goes out (the restart preamble, which
// the user may edit, then the program from that line), what the preamble
// cannot restore, and where it goes, and sends only when asked.
//
// The line starts at the caret's; changing it builds the preamble again after
// a short pause. A line the program never reaches says why and cannot be sent.
class RestartDialog : public QDialog {
    Q_OBJECT

public:
    RestartDialog(AppModel &model, int line, QWidget *parent = nullptr);

    QSpinBox *lineBox() const { return m_line; }
    QPlainTextEdit *preambleEditor() const { return m_preamble; }
    QPlainTextEdit *restView() const { return m_rest; }
    QLabel *notesLabel() const { return m_notes; }
    QLabel *headerLabel() const { return m_header; }
    QPushButton *sendButton() const { return m_send; }
    // Builds the restart for the chosen line now instead of after the pause.
    void rebuild();

    // Lines of the program shown after the preamble; the count stays exact.
    static constexpr int shownLines = 200;

private:
    void send();

    AppModel &m_model;
    QString m_text; // the program as it stands: the window waits while this is open
    ToolpathRestart m_restart;
    QTimer m_pause;
    QSpinBox *m_line;
    QCheckBox *m_turning;
    QLabel *m_warning;
    QLabel *m_notes;
    QLabel *m_header;
    QPlainTextEdit *m_preamble;
    QLabel *m_restCaption;
    QPlainTextEdit *m_rest;
    QLabel *m_target;
    QPushButton *m_send;
};
