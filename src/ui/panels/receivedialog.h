#pragma once

#include "workspace/appmodel.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QPushButton;
class QTreeWidget;

// The receive window: takes a program from the machine as a new document (or,
// with auto-receive, every program into a folder), or compares what the
// machine holds with the open program. It shows the model's receive state and
// comparison and keeps nothing of its own but the folder being chosen.
//
// One per main window, non-modal; present() raises the existing one.
class ReceiveDialog : public QDialog {
    Q_OBJECT
public:
    static ReceiveDialog *present(AppModel &model, QWidget *window, AppModel::ReceiveMode mode);

    ReceiveDialog(AppModel &model, AppModel::ReceiveMode mode, QWidget *parent = nullptr);

private:
    void setMode(AppModel::ReceiveMode mode);
    void start();
    void chooseFolder();
    void showState(const ReceiveState &state);
    void showComparison();
    void retranslate();

    AppModel &m_model;
    AppModel::ReceiveMode m_mode;
    QString m_folder;
    QLabel *m_intro;
    QLabel *m_status;
    QLabel *m_details;
    QCheckBox *m_auto;
    QPushButton *m_chooseFolder;
    QLabel *m_folderLabel;
    QLabel *m_result;
    QTreeWidget *m_differences;
    QPushButton *m_start;
    QPushButton *m_cancel;
    QPushButton *m_close;
};
