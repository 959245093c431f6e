#pragma once

#include "workspace/dialogs.h"

#include <QDialog>

class QListWidget;
class QPlainTextEdit;

// Asks which code page a file that is not UTF-8 was written in. The
// candidates come likeliest first with the first one chosen; beside them, the
// file's lines with non-ASCII bytes as the chosen candidate reads them, so the
// user sees "FURAÇÃO" or "FURA€ÇO" before deciding. The preview follows the
// choice as it moves.
class EncodingDialog : public QDialog {
    Q_OBJECT

public:
    EncodingDialog(const EncodingQuestion &question, QWidget *parent = nullptr);

    TextEncoding chosen() const;
    void choose(TextEncoding encoding);
    QString previewText() const;

private:
    void showPreview();

    EncodingQuestion m_question;
    QListWidget *m_list;
    QPlainTextEdit *m_preview;
};
