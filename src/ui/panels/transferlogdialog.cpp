#include "transferlogdialog.h"

#include "transfer/transferstate.h"
#include "workspace/appmodel.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

constexpr int kColumns = 8;

} // namespace

TransferLogDialog::TransferLogDialog(AppModel &model, TransferLog log, QWidget *parent)
    : QDialog(parent), m_model(model), m_log(std::move(log)), m_table(new QTableWidget(0, kColumns, this)),
      m_path(new QLabel(this)), m_refresh(new QPushButton(this)), m_close(new QPushButton(this))
{
    resize(900, 420);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_path->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_path->setText(m_log.filePath());

    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_path, 1);
    bottom->addWidget(m_refresh);
    bottom->addWidget(m_close);
    auto *column = new QVBoxLayout(this);
    column->addWidget(m_table, 1);
    column->addLayout(bottom);

    connect(m_refresh, &QPushButton::clicked, this, &TransferLogDialog::refresh);
    connect(m_close, &QPushButton::clicked, this, &QDialog::accept);
    connect(&m_model, &AppModel::languageChanged, this, &TransferLogDialog::retranslate);
    retranslate();
}

void TransferLogDialog::retranslate()
{
    const AppLanguage language = m_model.language();
    setWindowTitle(L10n::text("Transfer Log", language));
    m_table->setHorizontalHeaderLabels({L10n::text("Time", language), L10n::text("Direction", language),
                                        L10n::text("Machine", language), L10n::text("Port", language),
                                        L10n::text("File", language), L10n::text("Bytes", language),
                                        L10n::text("Result", language), L10n::text("Duration", language)});
    m_refresh->setText(L10n::text("Refresh", language));
    m_close->setText(L10n::text("Close", language));
    refresh();
}

void TransferLogDialog::refresh()
{
    const AppLanguage language = m_model.language();
    const QLocale locale(language == AppLanguage::spanish ? QStringLiteral("es") : QStringLiteral("en"));
    const QList<TransferLogEntry> entries = m_log.entries();
    m_table->setRowCount(int(entries.size()));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const TransferLogEntry &entry = entries.at(entries.size() - 1 - i);
        const auto status = TransferState::statusFromRawValue(entry.result);
        QString result = status ? TransferState::label(*status, language) : entry.result;
        if (!entry.message.isEmpty()) {
            result += QStringLiteral(": ") + entry.message;
        }
        const QString cells[kColumns] = {
            locale.toString(entry.time.toLocalTime(), QLocale::ShortFormat),
            entry.direction == TransferLogEntry::Direction::send ? L10n::text("Send", language)
                                                                : L10n::text("Receive", language),
            entry.machine,
            entry.port,
            entry.file,
            QString::number(entry.bytes),
            result,
            locale.toString(entry.durationMs / 1000.0, 'f', 1) + QStringLiteral(" s"),
        };
        for (int c = 0; c < kColumns; ++c) {
            m_table->setItem(int(i), c, new QTableWidgetItem(cells[c]));
        }
    }
    m_table->resizeColumnsToContents();
}
