#pragma once

#include "machines/machine.h"

#include <QDialog>

#include <optional>

class AppModel;
class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class WireFormatGroup;

// "Manage Machines…": the user's machine profiles on the left, every field of
// the chosen one on the right. New and duplicated profiles go into the store at
// once (with a fresh id); edits of the fields go in only through "Save", after
// the profile passes validation, whose message stays in the dialog until the
// user fixes the field. Deleting asks first. Moving to another profile, or
// closing, with edits not saved asks whether to save them.
//
// The store is the only place profiles live; the dialog keeps just the form.
// Closing it tells the model the sheet is gone (showingMachines).
class MachineSettingsDialog : public QDialog {
    Q_OBJECT

public:
    explicit MachineSettingsDialog(AppModel &model, QWidget *parent = nullptr);

    // The id of the profile the form shows; empty with none.
    QString currentId() const { return m_currentId; }
    void selectMachine(const QString &id);

    // The profile as the form reads now, not yet validated.
    Machine formMachine() const;
    bool hasUnsavedChanges() const;

    // Validates the form and stores it; false (with the message shown) when
    // the profile breaks a rule.
    bool save();
    void addMachine();
    void duplicateMachine();
    // Asks, then removes the profile shown.
    void deleteMachine();

    // The message of the last failed save; empty after a good one.
    QString validationMessage() const;

    QListWidget *list() const { return m_list; }
    QLineEdit *nameField() const { return m_name; }
    QComboBox *baudRateField() const { return m_baudRate; }
    QComboBox *dataBitsField() const { return m_dataBits; }
    QComboBox *parityField() const { return m_parity; }
    QComboBox *stopBitsField() const { return m_stopBits; }
    QComboBox *flowControlField() const { return m_flowControl; }
    QComboBox *lineTerminatorField() const { return m_lineTerminator; }
    QCheckBox *dtrField() const { return m_dtr; }
    QCheckBox *rtsField() const { return m_rts; }
    QCheckBox *dripFeedField() const { return m_dripFeed; }
    WireFormatGroup *wireFormatGroup() const { return m_wire; }

    void done(int result) override;

private:
    void retranslate();
    void fillList();
    void showMachine(const std::optional<Machine> &machine);
    void showValidation(const QString &message);
    // Save, discard or stay: true when the form may be left.
    bool settleUnsavedChanges();
    std::optional<Machine> storedMachine(const QString &id) const;
    QString freshId() const;
    void updateButtons();

    AppModel &m_model;
    QString m_currentId;
    bool m_filling = false;

    QListWidget *m_list;
    QPushButton *m_add;
    QPushButton *m_duplicate;
    QPushButton *m_delete;
    QGroupBox *m_form;
    QLabel *m_nameCaption;
    QLineEdit *m_name;
    QLabel *m_baudCaption;
    QComboBox *m_baudRate;
    QLabel *m_dataBitsCaption;
    QComboBox *m_dataBits;
    QLabel *m_parityCaption;
    QComboBox *m_parity;
    QLabel *m_stopBitsCaption;
    QComboBox *m_stopBits;
    QLabel *m_flowCaption;
    QComboBox *m_flowControl;
    QLabel *m_terminatorCaption;
    QComboBox *m_lineTerminator;
    QCheckBox *m_dtr;
    QCheckBox *m_rts;
    QCheckBox *m_dripFeed;
    WireFormatGroup *m_wire;
    QLabel *m_validation;
    QPushButton *m_save;
    QPushButton *m_close;
};
