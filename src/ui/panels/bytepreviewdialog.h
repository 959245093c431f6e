#pragma once

#include <QDialog>
#include <QTimer>

class AppModel;
class QComboBox;
class QLabel;
class QPlainTextEdit;

// "Byte Preview": the bytes the chosen machine profile would put on the wire
// for the selected program, control characters made visible (<NUL>, <DC2>,
// <CR>⏎), so a tape format can be checked before the machine sees it. It
// follows the selected program and its edits; the machine picker starts at
// the machine chosen in the send panel.
class BytePreviewDialog : public QDialog {
    Q_OBJECT

public:
    explicit BytePreviewDialog(AppModel &model, QWidget *parent = nullptr);

    // Builds the preview now instead of after the short pause that merges edits.
    void refresh();

    QComboBox *machinePicker() const { return m_machine; }
    QPlainTextEdit *bytesView() const { return m_bytes; }
    QLabel *summaryLabel() const { return m_summary; }

    // Past this many bytes only the beginning is shown (the count stays exact).
    static constexpr qsizetype shownBytesLimit = 512 * 1024;

private:
    void retranslate();
    void fillMachines();
    void watchDocument();

    AppModel &m_model;
    QComboBox *m_machine;
    QPlainTextEdit *m_bytes;
    QLabel *m_machineCaption;
    QLabel *m_summary;
    QTimer m_pending;
    QMetaObject::Connection m_documentConnection;
};
