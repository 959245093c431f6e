#pragma once

#include "base/l10n.h"
#include "machines/machine.h"

#include <QGroupBox>

class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

// The "Wire format" group of the machine settings: tape framing, line
// clean-up, pacing and character code of one profile. It only shows and
// reads fields; the dialog decides when they are stored.
class WireFormatGroup : public QGroupBox {
    Q_OBJECT

public:
    explicit WireFormatGroup(QWidget *parent = nullptr);

    void retranslate(AppLanguage language);
    // Shows the wire fields of `machine`.
    void showMachine(const Machine &machine);
    // `machine` with the wire fields as the form reads them.
    Machine apply(Machine machine) const;

    // The end-of-block choices: the bytes, and how the picker names them.
    static QByteArray endOfBlockFromText(const QString &text);
    static QString endOfBlockText(const QByteArray &bytes);

signals:
    void edited();

private:
    QLabel *m_leaderCaption;
    QSpinBox *m_leader;
    QLabel *m_trailerCaption;
    QSpinBox *m_trailer;
    QLabel *m_startCaption;
    QComboBox *m_start;
    QLabel *m_endCaption;
    QComboBox *m_end;
    QLabel *m_endOfBlockCaption;
    QComboBox *m_endOfBlock;
    QLabel *m_delayCaption;
    QSpinBox *m_delay;
    QLabel *m_codeCaption;
    QComboBox *m_code;
    QCheckBox *m_stripComments;
    QCheckBox *m_stripSpaces;
    QCheckBox *m_stripBlankLines;
    QCheckBox *m_upperCase;
    QCheckBox *m_waitForXon;
};
