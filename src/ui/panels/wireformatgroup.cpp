#include "wireformatgroup.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>

namespace {

// Control characters in the end-of-block field are written by name, so the
// user can type what a control's manual prints ("LF CR", "CR CR LF").
struct ControlName {
    const char *name;
    char byte;
};
constexpr ControlName kControlNames[] = {{"CR", '\r'}, {"LF", '\n'}, {"NUL", '\0'}, {"DC2", '\x12'},
                                         {"DC4", '\x14'}, {"TAB", '\t'}};

template <typename Enum>
void fillPicker(QComboBox *picker, AppLanguage language)
{
    const QVariant current = picker->currentData();
    const QSignalBlocker blocker(picker);
    picker->clear();
    for (Enum value : Machine::allCases<Enum>()) {
        picker->addItem(Machine::label(value, language), int(value));
    }
    picker->setCurrentIndex(std::max(0, picker->findData(current)));
}

} // namespace

QByteArray WireFormatGroup::endOfBlockFromText(const QString &text)
{
    QByteArray out;
    for (const QString &word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        bool named = false;
        for (const ControlName &control : kControlNames) {
            if (word.compare(QLatin1String(control.name), Qt::CaseInsensitive) == 0) {
                out += control.byte;
                named = true;
            }
        }
        if (!named) {
            out += word.toLatin1();
        }
    }
    return out;
}

QString WireFormatGroup::endOfBlockText(const QByteArray &bytes)
{
    QStringList words;
    for (const char byte : bytes) {
        QString word = QString(QLatin1Char(byte));
        for (const ControlName &control : kControlNames) {
            if (control.byte == byte) {
                word = QLatin1String(control.name);
            }
        }
        words.append(word);
    }
    return words.join(QLatin1Char(' '));
}

WireFormatGroup::WireFormatGroup(QWidget *parent)
    : QGroupBox(parent), m_leaderCaption(new QLabel(this)), m_leader(new QSpinBox(this)),
      m_trailerCaption(new QLabel(this)), m_trailer(new QSpinBox(this)), m_startCaption(new QLabel(this)),
      m_start(new QComboBox(this)), m_endCaption(new QLabel(this)), m_end(new QComboBox(this)),
      m_endOfBlockCaption(new QLabel(this)), m_endOfBlock(new QComboBox(this)), m_delayCaption(new QLabel(this)),
      m_delay(new QSpinBox(this)), m_codeCaption(new QLabel(this)), m_code(new QComboBox(this)),
      m_stripComments(new QCheckBox(this)), m_stripSpaces(new QCheckBox(this)),
      m_stripBlankLines(new QCheckBox(this)), m_upperCase(new QCheckBox(this)), m_waitForXon(new QCheckBox(this))
{
    for (QSpinBox *length : {m_leader, m_trailer}) {
        length->setRange(0, int(Machine::maxLeaderLength));
    }
    m_delay->setRange(0, int(Machine::maxLineDelayMs));
    m_delay->setSuffix(QStringLiteral(" ms"));
    m_endOfBlock->setEditable(true);
    m_endOfBlock->setInsertPolicy(QComboBox::NoInsert);
    for (const char *preset : {"", "LF CR", "CR CR LF", ";", "*"}) {
        m_endOfBlock->addItem(QLatin1String(preset));
    }

    auto *grid = new QGridLayout(this);
    grid->addWidget(m_leaderCaption, 0, 0);
    grid->addWidget(m_leader, 0, 1);
    grid->addWidget(m_trailerCaption, 0, 2);
    grid->addWidget(m_trailer, 0, 3);
    grid->addWidget(m_startCaption, 1, 0);
    grid->addWidget(m_start, 1, 1);
    grid->addWidget(m_endCaption, 1, 2);
    grid->addWidget(m_end, 1, 3);
    grid->addWidget(m_endOfBlockCaption, 2, 0);
    grid->addWidget(m_endOfBlock, 2, 1);
    grid->addWidget(m_delayCaption, 2, 2);
    grid->addWidget(m_delay, 2, 3);
    grid->addWidget(m_codeCaption, 3, 0);
    grid->addWidget(m_code, 3, 1, 1, 3);
    grid->addWidget(m_stripComments, 4, 0, 1, 2);
    grid->addWidget(m_stripSpaces, 4, 2, 1, 2);
    grid->addWidget(m_stripBlankLines, 5, 0, 1, 2);
    grid->addWidget(m_upperCase, 5, 2, 1, 2);
    grid->addWidget(m_waitForXon, 6, 0, 1, 4);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);

    for (QSpinBox *box : {m_leader, m_trailer, m_delay}) {
        connect(box, &QSpinBox::valueChanged, this, &WireFormatGroup::edited);
    }
    for (QComboBox *picker : {m_start, m_end, m_code}) {
        connect(picker, &QComboBox::currentIndexChanged, this, &WireFormatGroup::edited);
    }
    connect(m_endOfBlock, &QComboBox::currentTextChanged, this, &WireFormatGroup::edited);
    for (QCheckBox *box : {m_stripComments, m_stripSpaces, m_stripBlankLines, m_upperCase, m_waitForXon}) {
        connect(box, &QCheckBox::toggled, this, &WireFormatGroup::edited);
    }
    connect(m_code, &QComboBox::currentIndexChanged, this, [this] {
        // Tape code has its own end of block; an override would be ignored.
        m_endOfBlock->setEnabled(Machine::CharacterCode(m_code->currentData().toInt()) !=
                                 Machine::CharacterCode::eia);
    });
}

void WireFormatGroup::retranslate(AppLanguage language)
{
    setTitle(L10n::text("Wire format", language));
    m_leaderCaption->setText(L10n::text("Leader (NULs)", language));
    m_trailerCaption->setText(L10n::text("Trailer (NULs)", language));
    m_startCaption->setText(L10n::text("Start Character", language));
    m_endCaption->setText(L10n::text("End Character", language));
    m_endOfBlockCaption->setText(L10n::text("End of Block", language));
    m_endOfBlock->setToolTip(L10n::text("Empty: the line terminator. Control characters by name: CR LF NUL DC2 DC4 TAB.",
                                        language));
    m_endOfBlock->lineEdit()->setPlaceholderText(L10n::text("Line terminator", language));
    m_delayCaption->setText(L10n::text("Delay After Line", language));
    m_codeCaption->setText(L10n::text("Character Code", language));
    m_stripComments->setText(L10n::text("Strip comments", language));
    m_stripSpaces->setText(L10n::text("Strip spaces", language));
    m_stripBlankLines->setText(L10n::text("Strip blank lines", language));
    m_upperCase->setText(L10n::text("Upper case", language));
    m_waitForXon->setText(L10n::text("Wait for XON (DC1) before sending", language));
    fillPicker<Machine::TapeMark>(m_start, language);
    fillPicker<Machine::TapeMark>(m_end, language);
    fillPicker<Machine::CharacterCode>(m_code, language);
}

void WireFormatGroup::showMachine(const Machine &machine)
{
    const QSignalBlocker blockers[] = {QSignalBlocker(m_leader),        QSignalBlocker(m_trailer),
                                       QSignalBlocker(m_start),         QSignalBlocker(m_end),
                                       QSignalBlocker(m_endOfBlock),    QSignalBlocker(m_delay),
                                       QSignalBlocker(m_stripComments), QSignalBlocker(m_stripSpaces),
                                       QSignalBlocker(m_stripBlankLines), QSignalBlocker(m_upperCase),
                                       QSignalBlocker(m_waitForXon)};
    m_leader->setValue(int(machine.leaderLength));
    m_trailer->setValue(int(machine.trailerLength));
    m_start->setCurrentIndex(m_start->findData(int(machine.startCharacter)));
    m_end->setCurrentIndex(m_end->findData(int(machine.endCharacter)));
    m_endOfBlock->setCurrentIndex(-1);
    m_endOfBlock->setEditText(endOfBlockText(machine.endOfBlock));
    m_delay->setValue(int(machine.lineDelayMs));
    m_stripComments->setChecked(machine.stripComments);
    m_stripSpaces->setChecked(machine.stripSpaces);
    m_stripBlankLines->setChecked(machine.stripBlankLines);
    m_upperCase->setChecked(machine.upperCase);
    m_waitForXon->setChecked(machine.waitForXon);
    // Not blocked: the end-of-block field follows the code.
    m_code->setCurrentIndex(m_code->findData(int(machine.characterCode)));
}

Machine WireFormatGroup::apply(Machine machine) const
{
    machine.leaderLength = m_leader->value();
    machine.trailerLength = m_trailer->value();
    machine.startCharacter = Machine::TapeMark(m_start->currentData().toInt());
    machine.endCharacter = Machine::TapeMark(m_end->currentData().toInt());
    machine.endOfBlock = endOfBlockFromText(m_endOfBlock->currentText());
    machine.lineDelayMs = m_delay->value();
    machine.stripComments = m_stripComments->isChecked();
    machine.stripSpaces = m_stripSpaces->isChecked();
    machine.stripBlankLines = m_stripBlankLines->isChecked();
    machine.upperCase = m_upperCase->isChecked();
    machine.waitForXon = m_waitForXon->isChecked();
    machine.characterCode = Machine::CharacterCode(m_code->currentData().toInt());
    return machine;
}
