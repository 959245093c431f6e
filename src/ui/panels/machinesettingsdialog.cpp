#include "machinesettingsdialog.h"

#include "wireformatgroup.h"

#include "window/unsavedchanges.h"

#include "theme/varnpalette.h"

#include "workspace/appmodel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSignalBlocker>
#include <QUuid>
#include <QVBoxLayout>

namespace {

constexpr int kIdRole = Qt::UserRole;

template <typename Enum>
void fillEnumPicker(QComboBox *picker, AppLanguage language)
{
    const QVariant current = picker->currentData();
    const QSignalBlocker blocker(picker);
    picker->clear();
    for (Enum value : Machine::allCases<Enum>()) {
        picker->addItem(Machine::label(value, language), int(value));
    }
    picker->setCurrentIndex(std::max(0, picker->findData(current)));
}

template <typename Enum>
Enum enumValue(const QComboBox *picker)
{
    return Enum(picker->currentData().toInt());
}

// Shows `value` in a picker of whole numbers. A profile read from a file may
// hold a value the picker does not offer (data bits 9); it is shown as it is,
// so that saving explains what is wrong instead of quietly changing it.
void pickNumber(QComboBox *picker, qint64 value)
{
    int index = picker->findData(value);
    if (index < 0) {
        picker->addItem(QString::number(value), value);
        index = picker->count() - 1;
    }
    picker->setCurrentIndex(index);
}

void fillNumbers(QComboBox *picker, std::initializer_list<qint64> values)
{
    picker->clear();
    for (qint64 value : values) {
        picker->addItem(QString::number(value), value);
    }
}

} // namespace

MachineSettingsDialog::MachineSettingsDialog(AppModel &model, QWidget *parent)
    : QDialog(parent), m_model(model), m_list(new QListWidget(this)), m_add(new QPushButton(this)),
      m_duplicate(new QPushButton(this)), m_delete(new QPushButton(this)), m_form(new QGroupBox(this)),
      m_nameCaption(new QLabel(this)), m_name(new QLineEdit(this)), m_baudCaption(new QLabel(this)),
      m_baudRate(new QComboBox(this)), m_dataBitsCaption(new QLabel(this)), m_dataBits(new QComboBox(this)),
      m_parityCaption(new QLabel(this)), m_parity(new QComboBox(this)), m_stopBitsCaption(new QLabel(this)),
      m_stopBits(new QComboBox(this)), m_flowCaption(new QLabel(this)), m_flowControl(new QComboBox(this)),
      m_terminatorCaption(new QLabel(this)), m_lineTerminator(new QComboBox(this)), m_dtr(new QCheckBox(this)),
      m_rts(new QCheckBox(this)), m_dripFeed(new QCheckBox(this)), m_wire(new WireFormatGroup(this)),
      m_validation(new QLabel(this)),
      m_save(new QPushButton(this)), m_close(new QPushButton(this))
{
    setMinimumSize(640, 420);

    m_list->setMinimumWidth(220);
    m_list->setAlternatingRowColors(false);
    m_list->setSpacing(2);
    auto *listButtons = new QHBoxLayout;
    listButtons->addWidget(m_add);
    listButtons->addWidget(m_duplicate);
    listButtons->addWidget(m_delete);
    auto *left = new QVBoxLayout;
    left->addWidget(m_list, 1);
    left->addLayout(listButtons);

    m_baudRate->setEditable(true);
    m_baudRate->setInsertPolicy(QComboBox::NoInsert);
    for (qint64 speed : Machine::baudRateOptions) {
        m_baudRate->addItem(QString::number(speed), speed);
    }
    // Any positive speed a control may use (250000 on some), digits only.
    m_baudRate->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{0,9}")), m_baudRate));
    fillNumbers(m_dataBits, {5, 6, 7, 8});
    fillNumbers(m_stopBits, {1, 2});

    auto *form = new QFormLayout(m_form);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(m_nameCaption, m_name);
    form->addRow(m_baudCaption, m_baudRate);
    form->addRow(m_dataBitsCaption, m_dataBits);
    form->addRow(m_parityCaption, m_parity);
    form->addRow(m_stopBitsCaption, m_stopBits);
    form->addRow(m_flowCaption, m_flowControl);
    form->addRow(m_terminatorCaption, m_lineTerminator);
    auto *lines = new QHBoxLayout;
    lines->addWidget(m_dtr);
    lines->addWidget(m_rts);
    lines->addWidget(m_dripFeed);
    lines->addStretch(1);
    form->addRow(lines);

    m_validation->setWordWrap(true);
    QPalette warningText = m_validation->palette();
    warningText.setColor(QPalette::WindowText, VarnPalette::danger());
    m_validation->setPalette(warningText);
    m_validation->hide();

    auto *right = new QVBoxLayout;
    right->addWidget(m_form);
    right->addWidget(m_wire);
    right->addWidget(m_validation);
    right->addStretch(1);

    auto *panes = new QHBoxLayout;
    panes->addLayout(left, 2);
    panes->addLayout(right, 3);

    m_save->setDefault(true);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(m_close);
    bottom->addWidget(m_save);

    auto *column = new QVBoxLayout(this);
    column->addLayout(panes, 1);
    column->addLayout(bottom);

    connect(m_list, &QListWidget::currentRowChanged, this, [this](int row) {
        if (m_filling || row < 0) {
            return;
        }
        const QString id = m_list->item(row)->data(kIdRole).toString();
        if (id != m_currentId) {
            selectMachine(id);
        }
    });
    connect(m_add, &QPushButton::clicked, this, &MachineSettingsDialog::addMachine);
    connect(m_duplicate, &QPushButton::clicked, this, &MachineSettingsDialog::duplicateMachine);
    connect(m_delete, &QPushButton::clicked, this, &MachineSettingsDialog::deleteMachine);
    connect(m_save, &QPushButton::clicked, this, &MachineSettingsDialog::save);
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);

    connect(m_name, &QLineEdit::textChanged, this, &MachineSettingsDialog::updateButtons);
    connect(m_baudRate, &QComboBox::currentTextChanged, this, &MachineSettingsDialog::updateButtons);
    for (QComboBox *picker : {m_dataBits, m_parity, m_stopBits, m_flowControl, m_lineTerminator}) {
        connect(picker, &QComboBox::currentIndexChanged, this, &MachineSettingsDialog::updateButtons);
    }
    for (QCheckBox *box : {m_dtr, m_rts, m_dripFeed}) {
        connect(box, &QCheckBox::toggled, this, &MachineSettingsDialog::updateButtons);
    }
    connect(m_wire, &WireFormatGroup::edited, this, &MachineSettingsDialog::updateButtons);

    connect(&m_model.machineStore(), &MachineStore::machinesChanged, this, &MachineSettingsDialog::fillList);
    connect(&m_model, &AppModel::languageChanged, this, &MachineSettingsDialog::retranslate);

    retranslate();
    const QList<Machine> &machines = m_model.machineStore().machines();
    const std::optional<Machine> chosen = m_model.selectedMachine();
    selectMachine(chosen ? chosen->id : machines.isEmpty() ? QString() : machines.first().id);
}

void MachineSettingsDialog::retranslate()
{
    const AppLanguage language = m_model.language();
    setWindowTitle(L10n::text("Machine Settings", language));
    m_add->setText(L10n::text("Add", language));
    m_add->setToolTip(L10n::text("New Machine", language));
    m_duplicate->setText(L10n::text("Duplicate", language));
    m_delete->setText(L10n::text("Delete", language));
    m_form->setTitle(L10n::text("Serial Line", language));
    m_nameCaption->setText(L10n::text("Name", language));
    m_baudCaption->setText(L10n::text("Baud Rate", language));
    m_dataBitsCaption->setText(L10n::text("Data Bits", language));
    m_parityCaption->setText(L10n::text("Parity", language));
    m_stopBitsCaption->setText(L10n::text("Stop Bits", language));
    m_flowCaption->setText(L10n::text("Flow Control", language));
    m_terminatorCaption->setText(L10n::text("Line Terminator", language));
    m_dtr->setText(L10n::text("DTR", language));
    m_rts->setText(L10n::text("RTS", language));
    m_dripFeed->setText(L10n::text("Drip Feed", language));
    m_save->setText(L10n::text("Save", language));
    m_close->setText(L10n::text("Close", language));
    {
        const bool wasFillingWire = m_filling;
        m_filling = true;
        m_wire->retranslate(language);
        m_filling = wasFillingWire;
    }

    const bool wasFilling = m_filling;
    m_filling = true; // relabelling the pickers is no edit
    fillEnumPicker<Machine::Parity>(m_parity, language);
    fillEnumPicker<Machine::FlowControl>(m_flowControl, language);
    fillEnumPicker<Machine::LineTerminator>(m_lineTerminator, language);
    m_filling = wasFilling;
    fillList();
    // A message on show is re-read in the new language by saving again.
    if (!m_validation->isHidden()) {
        const auto result = formMachine().validated();
        if (const auto *error = std::get_if<MachineValidationError>(&result)) {
            showValidation(error->description(language));
        }
    }
}

std::optional<Machine> MachineSettingsDialog::storedMachine(const QString &id) const
{
    for (const Machine &machine : m_model.machineStore().machines()) {
        if (machine.id == id) {
            return machine;
        }
    }
    return std::nullopt;
}

void MachineSettingsDialog::fillList()
{
    const AppLanguage language = m_model.language();
    const bool wasFilling = m_filling;
    m_filling = true;
    m_list->clear();
    int currentRow = -1;
    for (const Machine &machine : m_model.machineStore().machines()) {
        auto *item = new QListWidgetItem(machine.name + QLatin1Char('\n') + machine.summary(language), m_list);
        item->setData(kIdRole, machine.id);
        item->setToolTip(machine.summary(language));
        if (machine.id == m_currentId) {
            currentRow = m_list->count() - 1;
        }
    }
    m_list->setCurrentRow(currentRow);
    m_filling = wasFilling;
    if (currentRow < 0 && !m_currentId.isEmpty()) {
        // The profile on show is gone from the store.
        const QList<Machine> &machines = m_model.machineStore().machines();
        showMachine(machines.isEmpty() ? std::nullopt : std::optional<Machine>(machines.first()));
    }
    updateButtons();
}

void MachineSettingsDialog::selectMachine(const QString &id)
{
    if (id != m_currentId && !settleUnsavedChanges()) {
        // Stay on the profile being edited.
        const bool wasFilling = m_filling;
        m_filling = true;
        for (int row = 0; row < m_list->count(); ++row) {
            if (m_list->item(row)->data(kIdRole).toString() == m_currentId) {
                m_list->setCurrentRow(row);
            }
        }
        m_filling = wasFilling;
        return;
    }
    showMachine(storedMachine(id));
}

void MachineSettingsDialog::showMachine(const std::optional<Machine> &machine)
{
    m_filling = true;
    m_currentId = machine ? machine->id : QString();
    const Machine shown = machine.value_or(Machine{});
    m_name->setText(shown.name);
    m_baudRate->setCurrentIndex(-1);
    m_baudRate->setEditText(QString::number(shown.baudRate));
    fillNumbers(m_dataBits, {5, 6, 7, 8});
    pickNumber(m_dataBits, shown.dataBits);
    fillNumbers(m_stopBits, {1, 2});
    pickNumber(m_stopBits, shown.stopBits);
    m_parity->setCurrentIndex(m_parity->findData(int(shown.parity)));
    m_flowControl->setCurrentIndex(m_flowControl->findData(int(shown.flowControl)));
    m_lineTerminator->setCurrentIndex(m_lineTerminator->findData(int(shown.lineTerminator)));
    m_dtr->setChecked(shown.dtr);
    m_rts->setChecked(shown.rts);
    m_dripFeed->setChecked(shown.dripFeed);
    m_wire->showMachine(shown);
    for (int row = 0; row < m_list->count(); ++row) {
        if (m_list->item(row)->data(kIdRole).toString() == m_currentId) {
            m_list->setCurrentRow(row);
        }
    }
    m_filling = false;
    m_form->setEnabled(machine.has_value());
    m_wire->setEnabled(machine.has_value());
    showValidation({});
    updateButtons();
}

Machine MachineSettingsDialog::formMachine() const
{
    // Fields the form does not show (those of receiving) keep their stored values.
    Machine machine = storedMachine(m_currentId).value_or(Machine{});
    machine.id = m_currentId;
    machine.name = m_name->text();
    // Empty or unreadable reads as 0, which validation then refuses.
    machine.baudRate = m_baudRate->currentText().trimmed().toLongLong();
    machine.dataBits = m_dataBits->currentData().toLongLong();
    machine.parity = enumValue<Machine::Parity>(m_parity);
    machine.stopBits = m_stopBits->currentData().toLongLong();
    machine.flowControl = enumValue<Machine::FlowControl>(m_flowControl);
    machine.lineTerminator = enumValue<Machine::LineTerminator>(m_lineTerminator);
    machine.dtr = m_dtr->isChecked();
    machine.rts = m_rts->isChecked();
    machine.dripFeed = m_dripFeed->isChecked();
    return m_wire->apply(machine);
}

bool MachineSettingsDialog::hasUnsavedChanges() const
{
    const std::optional<Machine> stored = storedMachine(m_currentId);
    return stored && formMachine() != *stored;
}

void MachineSettingsDialog::updateButtons()
{
    if (m_filling) {
        return;
    }
    const bool any = !m_currentId.isEmpty();
    m_duplicate->setEnabled(any);
    m_delete->setEnabled(any);
    m_save->setEnabled(hasUnsavedChanges());
}

void MachineSettingsDialog::showValidation(const QString &message)
{
    m_validation->setText(message);
    m_validation->setVisible(!message.isEmpty());
}

QString MachineSettingsDialog::validationMessage() const
{
    return m_validation->isHidden() ? QString() : m_validation->text();
}

bool MachineSettingsDialog::save()
{
    if (m_currentId.isEmpty()) {
        return false;
    }
    const auto result = formMachine().validated();
    if (const auto *error = std::get_if<MachineValidationError>(&result)) {
        showValidation(error->description(m_model.language()));
        return false;
    }
    const Machine valid = std::get<Machine>(result);
    m_model.machineStore().upsert(valid);
    showMachine(valid); // the name as stored, trimmed
    return true;
}

QString MachineSettingsDialog::freshId() const
{
    for (;;) {
        const QString id = QStringLiteral("m-") + QUuid::createUuid().toString(QUuid::Id128).left(12);
        if (!storedMachine(id)) {
            return id;
        }
    }
}

void MachineSettingsDialog::addMachine()
{
    if (!settleUnsavedChanges()) {
        return;
    }
    Machine machine; // 9600 8N1, XON/XOFF, CRLF: the most common control setting
    machine.id = freshId();
    machine.name = L10n::text("New Machine", m_model.language());
    m_model.machineStore().upsert(machine);
    if (!m_model.selectedMachine()) {
        m_model.setSelectedMachineId(machine.id);
    }
    showMachine(machine);
    m_name->setFocus();
    m_name->selectAll();
}

void MachineSettingsDialog::duplicateMachine()
{
    if (!settleUnsavedChanges()) {
        return;
    }
    std::optional<Machine> copy = storedMachine(m_currentId);
    if (!copy) {
        return;
    }
    copy->id = freshId();
    copy->name = L10n::format("%@ Copy", m_model.language(), {copy->name});
    m_model.machineStore().upsert(*copy);
    showMachine(copy);
}

void MachineSettingsDialog::deleteMachine()
{
    const std::optional<Machine> doomed = storedMachine(m_currentId);
    if (!doomed) {
        return;
    }
    const AppLanguage language = m_model.language();
    QMessageBox ask(QMessageBox::Warning, L10n::text("Delete Machine", language),
                    L10n::format("Delete the machine “%@”?", language, {doomed->name}), QMessageBox::NoButton, this);
    ask.setInformativeText(L10n::text("This cannot be undone.", language));
    QPushButton *remove = ask.addButton(L10n::text("Delete", language), QMessageBox::DestructiveRole);
    ask.setDefaultButton(ask.addButton(L10n::text("Cancel", language), QMessageBox::RejectRole));
    ask.exec();
    if (ask.clickedButton() != remove) {
        return;
    }

    const QList<Machine> before = m_model.machineStore().machines();
    const qsizetype row = before.indexOf(*doomed);
    m_currentId.clear(); // the form's edits go with the profile
    m_model.machineStore().remove(*doomed);
    const QList<Machine> &after = m_model.machineStore().machines();
    const std::optional<Machine> next =
        after.isEmpty() ? std::nullopt : std::optional<Machine>(after.at(std::min(row, after.size() - 1)));
    if (m_model.selectedMachineId() == doomed->id) {
        m_model.setSelectedMachineId(next ? std::optional<QString>(next->id) : std::nullopt);
    }
    showMachine(next);
}

bool MachineSettingsDialog::settleUnsavedChanges()
{
    if (!hasUnsavedChanges()) {
        return true;
    }
    const AppLanguage language = m_model.language();
    const UnsavedAnswer answer = askAboutUnsavedChanges(this, L10n::text("Machine Settings", language),
                                                        storedMachine(m_currentId)->name, language);
    if (answer == UnsavedAnswer::save) {
        return save();
    }
    if (answer == UnsavedAnswer::dontSave) {
        showMachine(storedMachine(m_currentId));
        return true;
    }
    return false;
}

void MachineSettingsDialog::done(int result)
{
    if (!settleUnsavedChanges()) {
        return;
    }
    QDialog::done(result);
    m_model.setShowingMachines(false);
}
