#include "restartdialog.h"

#include "theme/varnpalette.h"
#include "toolpath/toolpathturning.h"
#include "transfer/transfercontroller.h"
#include "workspace/appmodel.h"

#include <QApplication>
#include <QCheckBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

// Lines as the editor counts them: "\r\n", "\n" and "\r" each end one.
int lineCount(QStringView text)
{
    const qsizetype lf = text.count(QLatin1Char('\n'));
    const qsizetype crlf = text.count(QStringLiteral("\r\n"));
    const qsizetype cr = text.count(QLatin1Char('\r')) - crlf;
    return int(std::min<qsizetype>(lf + cr + 1, INT_MAX));
}

// The first `limit` lines from `offset`, and whether more follow.
QStringView firstLines(QStringView text, qsizetype offset, int limit, bool *more)
{
    qsizetype end = offset;
    for (int line = 0; line < limit && end < text.size(); ++line) {
        const qsizetype lf = text.indexOf(QLatin1Char('\n'), end);
        end = lf < 0 ? text.size() : lf + 1;
    }
    *more = end < text.size();
    return text.sliced(offset, end - offset);
}

} // namespace

RestartDialog::RestartDialog(AppModel &model, int line, QWidget *parent)
    : QDialog(parent), m_model(model), m_line(new QSpinBox(this)), m_turning(new QCheckBox(this)),
      m_warning(new QLabel(this)), m_notes(new QLabel(this)), m_header(new QLabel(this)), m_preamble(new QPlainTextEdit(this)),
      m_restCaption(new QLabel(this)), m_rest(new QPlainTextEdit(this)), m_target(new QLabel(this)),
      m_send(new QPushButton(this))
{
    const AppLanguage language = model.language();
    setWindowTitle(L10n::text("Send from Line", language));
    const EditorDocument *doc = model.selectedDocument();
    m_text = doc ? doc->text() : QString();
    const QString &text = m_text;

    m_line->setRange(1, lineCount(text));
    m_line->setValue(std::clamp(line, 1, m_line->maximum()));
    m_turning->setText(L10n::text("Turning (X is a diameter)", language));
    m_turning->setChecked(ToolpathTurning::looksLikeTurning(text));
    m_warning->setWordWrap(true);
    QFont bold = m_warning->font();
    bold.setBold(true);
    m_warning->setFont(bold);
    m_notes->setWordWrap(true);
    QPalette notePalette = m_notes->palette();
    notePalette.setColor(QPalette::WindowText, VarnPalette::warning());
    m_notes->setPalette(notePalette);
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    m_preamble->setFont(fixed);
    m_header->setFont(fixed);
    m_header->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_preamble->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_rest->setFont(fixed);
    m_rest->setReadOnly(true);
    m_rest->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_send->setText(L10n::text("Send", language));
    m_send->setDefault(true);
    auto *cancel = new QPushButton(L10n::text("Cancel", language), this);

    const std::optional<Machine> machine = model.selectedMachine();
    const std::optional<QString> port = model.selectedPortPath();
    m_target->setText(machine && port ? L10n::format("To %@ on %@.", language,
                                                     {machine->name, TransferController::endpointName(*port)})
                                      : L10n::text("Choose a machine and a port in the send panel first.", language));

    auto *lineRow = new QHBoxLayout;
    lineRow->addWidget(new QLabel(L10n::text("Line:", language), this));
    lineRow->addWidget(m_line);
    lineRow->addSpacing(12);
    lineRow->addWidget(m_turning);
    lineRow->addStretch(1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_target, 1);
    buttons->addWidget(cancel);
    buttons->addWidget(m_send);
    auto *column = new QVBoxLayout(this);
    column->addLayout(lineRow);
    column->addWidget(m_warning);
    column->addWidget(m_notes);
    column->addWidget(m_header);
    column->addWidget(new QLabel(L10n::text("Restart preamble (you may edit it):", language), this));
    column->addWidget(m_preamble, 2);
    column->addWidget(m_restCaption);
    column->addWidget(m_rest, 3);
    column->addLayout(buttons);

    m_pause.setSingleShot(true);
    m_pause.setInterval(250);
    connect(&m_pause, &QTimer::timeout, this, &RestartDialog::rebuild);
    connect(m_line, &QSpinBox::valueChanged, this, [this] { m_pause.start(); });
    connect(m_turning, &QCheckBox::toggled, this, &RestartDialog::rebuild);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_send, &QPushButton::clicked, this, &RestartDialog::send);
    resize(680, 560);
    rebuild();
}

void RestartDialog::rebuild()
{
    m_pause.stop();
    const AppLanguage language = m_model.language();
    const QString &text = m_text;
    // Reading a huge program up to a late line takes a moment.
    QApplication::setOverrideCursor(Qt::WaitCursor);
    m_restart = ToolpathRestarts::plan(text, m_line->value(), m_turning->isChecked(), language);
    QApplication::restoreOverrideCursor();

    const bool ok = m_restart.ok();
    QPalette warningPalette = m_warning->palette();
    warningPalette.setColor(QPalette::WindowText, ok ? palette().color(QPalette::WindowText) : VarnPalette::warning());
    m_warning->setPalette(warningPalette);
    m_warning->setText(ok ? L10n::format("The machine runs these blocks first, then the program from line %@. Check "
                                         "the tool, its offsets and the clearance height before you start.",
                                         language, {QString::number(m_restart.line)})
                          : m_restart.problem);
    QStringList notes;
    for (const QString &note : m_restart.notes) {
        notes.append(QStringLiteral("• ") + note);
    }
    m_notes->setText(notes.join(QLatin1Char('\n')));
    m_notes->setVisible(!notes.isEmpty());
    // The program's own "%" and O lines go out first, as they stand.
    const QString header = QString(m_restart.header).replace(QStringLiteral("\r\n"), QStringLiteral("\n")).trimmed();
    m_header->setText(header.isEmpty() ? QString()
                                       : L10n::text("First the program's own lines:", language) +
                                             QLatin1Char('\n') + header);
    m_header->setVisible(!header.isEmpty());
    m_preamble->setPlainText(m_restart.preamble);
    m_preamble->setEnabled(ok);
    bool more = false;
    const QStringView shown = ok ? firstLines(text, m_restart.resumeOffset, shownLines, &more) : QStringView();
    m_restCaption->setText(
        more ? L10n::format("Then the program from line %@ (the first %@ lines of %@):", language,
                            {QString::number(m_restart.line), QString::number(shownLines),
                             QString::number(m_line->maximum() - m_restart.line + 1)})
             : L10n::format("Then the program from line %@:", language, {QString::number(m_restart.line)}));
    m_rest->setPlainText(shown.toString());
    m_send->setEnabled(ok && m_model.selectedMachine() && m_model.selectedPortPath());
}

void RestartDialog::send()
{
    if (m_pause.isActive()) {
        rebuild(); // the line was changed a moment ago: send what it now says
    }
    if (!m_restart.ok()) {
        return;
    }
    m_model.sendRestart(m_restart, m_preamble->toPlainText());
    accept();
}
