#pragma once

#include "transfer/transferstate.h"

#include <QWidget>

class AppModel;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QToolButton;

// The strip under the editor that sends the selected program to a machine:
// which machine (its profile's name, with the line settings beside it), which
// serial port, and the state of the current or last transfer with its
// progress. Sending, cancelling and the checks before a send are the model's;
// the panel shows what the model and its transfer controller publish.
//
// Send is offered whenever no transfer runs (without a machine or a port the
// model explains what is missing); Cancel only while one does. A transfer the
// system refused for lack of permission on the device gets a second line
// saying how to fix that.
//
// The port picker also takes a typed network port (tcp://HOST:PORT,
// rfc2217://HOST:PORT), which the model remembers for the machine and lists
// from then on. Under the picker, what could make the chosen USB adapter lose
// bytes or vanish (its latency timer, ModemManager, brltty) is said in words.
// The machine and port pickers share one row while the machine's line
// summary fits beside them whole; where it would not (a narrow editor, the
// longer Spanish captions), the port picker and then the summary flow onto
// rows of their own rather than cutting the summary short.
class SendPanel : public QWidget {
    Q_OBJECT

public:
    explicit SendPanel(AppModel &model, QWidget *parent = nullptr);

    QComboBox *machinePicker() const { return m_machines; }
    QComboBox *portPicker() const { return m_ports; }
    QToolButton *refreshButton() const { return m_refresh; }
    QPushButton *sendButton() const { return m_send; }
    QPushButton *cancelButton() const { return m_cancel; }
    QLabel *statusLabel() const { return m_status; }
    QProgressBar *progressBar() const { return m_progress; }
    QLabel *progressLabel() const { return m_progressText; }
    QLabel *messageLabel() const { return m_message; }
    QLabel *hintLabel() const { return m_hint; }
    QLabel *routeLabel() const { return m_route; }
    QLabel *adviceLabel() const { return m_advice; }

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void fitPickers();
    void retranslate();
    void fillMachines();
    void fillPorts();
    void chooseTypedPort();
    void showState();

    AppModel &m_model;
    QLabel *m_machineCaption;
    QComboBox *m_machines;
    QLabel *m_summary;
    QToolButton *m_manage;
    QLabel *m_portCaption;
    QComboBox *m_ports;
    QToolButton *m_refresh;
    QWidget *m_portGroup;
    // The pickers' rows: the first always holds the machine picker; the
    // summary and the port group flow into the others when they do not fit.
    QHBoxLayout *m_pickerRows[3];
    QPushButton *m_send;
    QToolButton *m_receive;
    QPushButton *m_cancel;
    QLabel *m_status;
    QLabel *m_route;
    QProgressBar *m_progress;
    QLabel *m_progressText;
    QLabel *m_message;
    QLabel *m_hint;
    QLabel *m_advice;
    // The device of the transfer on show: the hint is about that one, even if
    // the user has picked another port since.
    QString m_transferPort;
    TransferState::Status m_lastStatus = TransferState::Status::idle;
};
