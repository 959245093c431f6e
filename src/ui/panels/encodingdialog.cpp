#include "encodingdialog.h"

#include <QDialogButtonBox>

#include <algorithm>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

EncodingDialog::EncodingDialog(const EncodingQuestion &question, QWidget *parent)
    : QDialog(parent), m_question(question), m_list(new QListWidget(this)), m_preview(new QPlainTextEdit(this))
{
    setWindowTitle(question.title);
    auto *message = new QLabel(question.message, this);
    message->setWordWrap(true);

    for (const TextEncoding encoding : question.encodings) {
        auto *item = new QListWidgetItem(TextEncodings::name(encoding), m_list);
        item->setData(Qt::UserRole, int(encoding));
    }
    m_list->setObjectName(QStringLiteral("encodingList"));
    m_list->setMaximumWidth(m_list->sizeHintForColumn(0) + 4 * m_list->frameWidth() + 24);
    m_preview->setObjectName(QStringLiteral("encodingPreview"));
    m_preview->setReadOnly(true);
    m_preview->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_preview->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));

    auto *buttons = new QDialogButtonBox(this);
    buttons->addButton(question.applyLabel, QDialogButtonBox::AcceptRole)->setDefault(true);
    buttons->addButton(question.cancelLabel, QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_list, &QListWidget::currentRowChanged, this, &EncodingDialog::showPreview);
    connect(m_list, &QListWidget::itemDoubleClicked, this, &QDialog::accept);

    auto *row = new QHBoxLayout;
    row->addWidget(m_list);
    row->addWidget(m_preview, 1);
    auto *column = new QVBoxLayout(this);
    column->addWidget(message);
    column->addLayout(row, 1);
    column->addWidget(buttons);
    resize(720, 420);

    m_list->setCurrentRow(0);
    showPreview();
}

TextEncoding EncodingDialog::chosen() const
{
    const QListWidgetItem *item = m_list->currentItem();
    return item ? TextEncoding(item->data(Qt::UserRole).toInt()) : TextEncoding::utf8;
}

void EncodingDialog::choose(TextEncoding encoding)
{
    const qsizetype row = m_question.encodings.indexOf(encoding);
    if (row >= 0) {
        m_list->setCurrentRow(int(row));
    }
}

QString EncodingDialog::previewText() const
{
    return m_preview->toPlainText();
}

void EncodingDialog::showPreview()
{
    if (!m_list->currentItem()) {
        return;
    }
    const TextEncoding encoding = chosen();
    // The line numbers the editor will show, so a line can be found again.
    qint64 widest = 1;
    for (const EncodingSample::Line &line : m_question.sample.lines) {
        widest = std::max(widest, line.number);
    }
    const int width = int(QString::number(widest).size());
    QStringList lines;
    for (const EncodingSample::Line &line : m_question.sample.lines) {
        lines.append(QStringLiteral("%1  %2").arg(line.number, width).arg(TextEncodings::decode(line.bytes, encoding)));
    }
    m_preview->setPlainText(lines.join(QLatin1Char('\n')));
}
