#pragma once

#include <QDialog>

class AppModel;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;

// The settings scene: interface language, appearance and the editor's font
// size. Every change applies at once through the model, which stores it, so
// there is nothing to confirm; the dialog only closes. It follows the model
// too, so a font size changed from the menu while it is open shows here.
class PreferencesDialog : public QDialog {
    Q_OBJECT

public:
    explicit PreferencesDialog(AppModel &model, QWidget *parent = nullptr);

    QComboBox *languagePicker() const { return m_language; }
    QComboBox *appearancePicker() const { return m_appearance; }
    QSpinBox *fontSizeField() const { return m_fontSize; }

private:
    void retranslate();
    void showValues();

    AppModel &m_model;
    QLabel *m_languageCaption;
    QComboBox *m_language;
    QLabel *m_appearanceCaption;
    QComboBox *m_appearance;
    QLabel *m_fontSizeCaption;
    QSpinBox *m_fontSize;
    QPushButton *m_close;
};
