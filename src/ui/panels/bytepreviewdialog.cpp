#include "bytepreviewdialog.h"

#include "transfer/wireformat.h"
#include "workspace/appmodel.h"
#include "workspace/editordocument.h"

#include <QComboBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

BytePreviewDialog::BytePreviewDialog(AppModel &model, QWidget *parent)
    : QDialog(parent), m_model(model), m_machine(new QComboBox(this)), m_bytes(new QPlainTextEdit(this)),
      m_machineCaption(new QLabel(this)), m_summary(new QLabel(this))
{
    resize(720, 480);
    m_bytes->setReadOnly(true);
    m_bytes->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_bytes->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_summary->setWordWrap(true);

    auto *top = new QHBoxLayout;
    top->addWidget(m_machineCaption);
    top->addWidget(m_machine, 1);
    auto *column = new QVBoxLayout(this);
    column->addLayout(top);
    column->addWidget(m_bytes, 1);
    column->addWidget(m_summary);

    // Typing merges into one rebuild a moment after the last key.
    m_pending.setSingleShot(true);
    m_pending.setInterval(250);
    connect(&m_pending, &QTimer::timeout, this, &BytePreviewDialog::refresh);
    connect(m_machine, &QComboBox::currentIndexChanged, this, &BytePreviewDialog::refresh);
    connect(&m_model.machineStore(), &MachineStore::machinesChanged, this, [this] {
        fillMachines();
        refresh();
    });
    connect(&m_model, &AppModel::selectedDocumentChanged, this, [this] {
        watchDocument();
        refresh();
    });
    connect(&m_model, &AppModel::languageChanged, this, &BytePreviewDialog::retranslate);

    fillMachines();
    const std::optional<QString> chosen = m_model.selectedMachineId();
    if (chosen) {
        m_machine->setCurrentIndex(std::max(0, m_machine->findData(*chosen)));
    }
    watchDocument();
    retranslate();
}

void BytePreviewDialog::watchDocument()
{
    disconnect(m_documentConnection);
    if (EditorDocument *doc = m_model.selectedDocument()) {
        m_documentConnection = connect(doc, &EditorDocument::textChanged, this, [this] { m_pending.start(); });
    }
}

void BytePreviewDialog::fillMachines()
{
    const QVariant current = m_machine->currentData();
    const QSignalBlocker blocker(m_machine);
    m_machine->clear();
    for (const Machine &machine : m_model.machineStore().machines()) {
        m_machine->addItem(machine.name, machine.id);
    }
    m_machine->setCurrentIndex(std::max(0, m_machine->findData(current)));
}

void BytePreviewDialog::retranslate()
{
    const AppLanguage language = m_model.language();
    setWindowTitle(L10n::text("Byte Preview", language));
    m_machineCaption->setText(L10n::text("Machine", language));
    refresh();
}

void BytePreviewDialog::refresh()
{
    m_pending.stop();
    const AppLanguage language = m_model.language();
    const QString id = m_machine->currentData().toString();
    const Machine *machine = nullptr;
    for (const Machine &candidate : m_model.machineStore().machines()) {
        if (candidate.id == id) {
            machine = &candidate;
        }
    }
    EditorDocument *doc = m_model.selectedDocument();
    if (!machine || !doc) {
        m_bytes->clear();
        m_summary->setText(L10n::text("Open a program and choose a machine to see its bytes.", language));
        return;
    }
    const WirePayload payload = WireFormat::build(doc->text(), *machine);
    const QByteArray shown = payload.bytes.size() > shownBytesLimit ? payload.bytes.first(shownBytesLimit)
                                                                     : payload.bytes;
    m_bytes->setPlainText(WireFormat::visible(shown, *machine));

    QStringList notes;
    notes.append(L10n::format("%@ bytes on the wire.", language, {QString::number(payload.bytes.size())}));
    if (shown.size() < payload.bytes.size()) {
        notes.append(L10n::format("Showing the first %@.", language, {QString::number(shown.size())}));
    }
    if (payload.unencodable > 0) {
        notes.append(L10n::format("%@ characters have no code in EIA RS-244 and were left out.", language,
                                  {QString::number(payload.unencodable)}));
    }
    m_summary->setText(notes.join(QLatin1Char(' ')));
}
