#pragma once

#include "transfer/transferlog.h"

#include <QDialog>

class AppModel;
class QLabel;
class QPushButton;
class QTableWidget;

// "Transfer Log…": the sends and receives of the log file, newest first, read
// only. Reading happens when the dialog opens and on Refresh.
class TransferLogDialog : public QDialog {
    Q_OBJECT

public:
    TransferLogDialog(AppModel &model, TransferLog log, QWidget *parent = nullptr);

    void refresh();
    QTableWidget *table() const { return m_table; }

private:
    void retranslate();

    AppModel &m_model;
    TransferLog m_log;
    QTableWidget *m_table;
    QLabel *m_path;
    QPushButton *m_refresh;
    QPushButton *m_close;
};
