#include "receivedialog.h"

#include "theme/varnpalette.h"
#include "workspace/dialogs.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

ReceiveDialog *ReceiveDialog::present(AppModel &model, QWidget *window, AppModel::ReceiveMode mode)
{
    auto *dialog = window->findChild<ReceiveDialog *>(QString(), Qt::FindDirectChildrenOnly);
    if (!dialog) {
        dialog = new ReceiveDialog(model, mode, window);
    } else if (!model.receiver().state().isActive()) {
        dialog->setMode(mode);
    }
    dialog->show();
    dialog->raise();
    dialog->activateWindow();
    return dialog;
}

ReceiveDialog::ReceiveDialog(AppModel &model, AppModel::ReceiveMode mode, QWidget *parent)
    : QDialog(parent), m_model(model), m_mode(mode), m_intro(new QLabel(this)), m_status(new QLabel(this)),
      m_details(new QLabel(this)), m_auto(new QCheckBox(this)), m_chooseFolder(new QPushButton(this)),
      m_folderLabel(new QLabel(this)), m_result(new QLabel(this)), m_differences(new QTreeWidget(this)),
      m_start(new QPushButton(this)), m_cancel(new QPushButton(this)), m_close(new QPushButton(this))
{
    m_intro->setWordWrap(true);
    QFont bold = m_status->font();
    bold.setBold(true);
    m_status->setFont(bold);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_details->setWordWrap(true);
    m_folderLabel->setForegroundRole(QPalette::PlaceholderText);
    m_folderLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_result->setWordWrap(true);
    m_differences->setColumnCount(4);
    m_differences->setRootIsDecorated(false);
    m_differences->setUniformRowHeights(true);
    m_differences->header()->setStretchLastSection(true);
    m_start->setDefault(true);

    auto *folderRow = new QHBoxLayout;
    folderRow->addWidget(m_auto);
    folderRow->addWidget(m_chooseFolder);
    folderRow->addWidget(m_folderLabel, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_close);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_start);
    auto *column = new QVBoxLayout(this);
    column->addWidget(m_intro);
    column->addLayout(folderRow);
    column->addWidget(m_status);
    column->addWidget(m_details);
    column->addWidget(m_result);
    column->addWidget(m_differences, 1);
    column->addLayout(buttons);

    connect(m_start, &QPushButton::clicked, this, &ReceiveDialog::start);
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_model.receiver().cancel(); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::close);
    connect(m_chooseFolder, &QPushButton::clicked, this, &ReceiveDialog::chooseFolder);
    connect(m_auto, &QCheckBox::toggled, this, [this](bool on) {
        if (on && m_folder.isEmpty()) {
            chooseFolder();
        }
        if (m_folder.isEmpty()) {
            m_auto->setChecked(false);
        }
    });
    connect(&m_model.receiver(), &ReceiveController::stateChanged, this, &ReceiveDialog::showState);
    connect(&m_model, &AppModel::comparisonChanged, this, &ReceiveDialog::showComparison);
    connect(&m_model, &AppModel::languageChanged, this, &ReceiveDialog::retranslate);
    resize(620, mode == AppModel::ReceiveMode::compare ? 420 : 240);
    setMode(mode);
}

void ReceiveDialog::setMode(AppModel::ReceiveMode mode)
{
    m_mode = mode;
    // A profile that names an auto-receive folder starts with auto-receive on.
    if (const std::optional<Machine> machine = m_model.selectedMachine();
        machine && !machine->autoReceiveFolder.isEmpty() && !m_model.receiver().state().isActive()) {
        m_folder = machine->autoReceiveFolder;
        m_folderLabel->setText(m_folder);
        m_auto->setChecked(true);
    }
    const bool compare = mode == AppModel::ReceiveMode::compare;
    m_auto->setVisible(!compare);
    m_chooseFolder->setVisible(!compare);
    m_folderLabel->setVisible(!compare);
    m_differences->setVisible(compare && m_model.hasComparison());
    m_result->setVisible(compare && m_model.hasComparison());
    retranslate();
    showComparison();
}

void ReceiveDialog::start()
{
    const bool autoReceive = m_mode == AppModel::ReceiveMode::open && m_auto->isChecked();
    m_model.startReceive(m_mode, autoReceive ? m_folder : QString());
}

void ReceiveDialog::chooseFolder()
{
    Dialogs *dialogs = m_model.dialogs();
    if (!dialogs) {
        return;
    }
    const QList<QUrl> folders =
        dialogs->chooseFolders(L10n::text("Choose the folder received programs are saved in", m_model.language()));
    if (!folders.isEmpty() && folders.first().isLocalFile()) {
        m_folder = folders.first().toLocalFile();
        m_folderLabel->setText(m_folder);
    }
}

void ReceiveDialog::showState(const ReceiveState &state)
{
    const AppLanguage language = m_model.language();
    m_status->setText(state.status == ReceiveState::Status::idle ? QString()
                                                                   : ReceiveState::label(state.status, language));
    QStringList lines;
    if (!state.machineName.isEmpty()) {
        lines.append(state.machineName + QStringLiteral(" · ") + state.endpointName);
    }
    if (state.bytes > 0 || state.status == ReceiveState::Status::received) {
        lines.append(state.summary(language));
    }
    if (state.programsSaved > 0) {
        lines.append(L10n::format("%@ programs saved, the last as %@", language,
                                  {QString::number(state.programsSaved), state.lastSavedPath}));
    }
    if (!m_model.lastRawPath().isEmpty() && state.status == ReceiveState::Status::received &&
        m_mode == AppModel::ReceiveMode::open) {
        lines.append(L10n::format("Received bytes kept in %@", language, {m_model.lastRawPath()}));
    }
    if (state.status == ReceiveState::Status::error || state.message != ReceiveState::label(state.status, language)) {
        lines.append(state.message);
    }
    m_details->setText(lines.join(QLatin1Char('\n')));
    QPalette palette = m_status->palette();
    palette.setColor(QPalette::WindowText, state.status == ReceiveState::Status::error ? VarnPalette::danger()
                                           : state.errors > 0                          ? VarnPalette::warning()
                                                                                        : this->palette().color(QPalette::WindowText));
    m_status->setPalette(palette);
    m_start->setEnabled(!state.isActive());
    m_cancel->setEnabled(state.isActive());
    m_auto->setEnabled(!state.isActive());
    m_chooseFolder->setEnabled(!state.isActive());
}

void ReceiveDialog::showComparison()
{
    const bool compare = m_mode == AppModel::ReceiveMode::compare;
    const bool shown = compare && m_model.hasComparison();
    m_differences->setVisible(shown);
    m_result->setVisible(shown);
    m_differences->clear();
    if (!shown) {
        return;
    }
    const AppLanguage language = m_model.language();
    const QList<ProgramDifference> &differences = m_model.comparison();
    m_result->setText(differences.isEmpty()
                          ? L10n::text("The machine holds the same program.", language)
                          : L10n::format("%@ blocks differ.", language, {QString::number(differences.size())}));
    const QString missing = L10n::text("(missing)", language);
    for (const ProgramDifference &difference : differences) {
        auto *item = new QTreeWidgetItem(m_differences);
        item->setText(0, difference.documentLine > 0 ? QString::number(difference.documentLine) : QString());
        item->setText(1, difference.documentLine > 0 ? difference.documentBlock : missing);
        item->setText(2, difference.machineLine > 0 ? QString::number(difference.machineLine) : QString());
        item->setText(3, difference.machineLine > 0 ? difference.machineBlock : missing);
    }
    m_differences->resizeColumnToContents(0);
    m_differences->resizeColumnToContents(2);
}

void ReceiveDialog::retranslate()
{
    const AppLanguage language = m_model.language();
    const bool compare = m_mode == AppModel::ReceiveMode::compare;
    setWindowTitle(compare ? L10n::text("Compare with the Machine", language)
                           : L10n::text("Receive from Machine", language));
    m_intro->setText(compare ? L10n::text("Start, then have the machine punch out the program. It is compared with "
                                          "the open program block by block.",
                                          language)
                             : L10n::text("Start, then have the machine punch out the program. It opens as a new "
                                          "document.",
                                          language));
    m_auto->setText(L10n::text("Keep listening and save every program in:", language));
    m_chooseFolder->setText(L10n::text("Choose…", language));
    if (m_folder.isEmpty()) {
        m_folderLabel->setText(L10n::text("no folder chosen", language));
    }
    m_differences->setHeaderLabels({L10n::text("Line", language), L10n::text("Document", language),
                                    L10n::text("Line", language), L10n::text("Machine", language)});
    m_start->setText(L10n::text("Start", language));
    m_cancel->setText(L10n::text("Cancel", language));
    m_close->setText(L10n::text("Close", language));
    showState(m_model.receiver().state());
}
