#include "preferencesdialog.h"

#include "workspace/appmodel.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <cmath>

namespace {

QString appearanceLabel(AppearanceMode mode, AppLanguage language)
{
    switch (mode) {
    case AppearanceMode::light:
        return L10n::text("Light", language);
    case AppearanceMode::dark:
        return L10n::text("Dark", language);
    case AppearanceMode::system:
        break;
    }
    return L10n::text("System", language);
}

// Each language is named in itself, so a user who cannot read the current
// one still finds their own.
QString languageLabel(AppLanguage language, AppLanguage interface)
{
    return language == AppLanguage::spanish ? L10n::text("Español", interface) : L10n::text("English", interface);
}

} // namespace

PreferencesDialog::PreferencesDialog(AppModel &model, QWidget *parent)
    : QDialog(parent), m_model(model), m_languageCaption(new QLabel(this)), m_language(new QComboBox(this)),
      m_appearanceCaption(new QLabel(this)), m_appearance(new QComboBox(this)), m_fontSizeCaption(new QLabel(this)),
      m_fontSize(new QSpinBox(this)), m_close(new QPushButton(this))
{
    for (AppLanguage language : AppLanguages::allCases) {
        m_language->addItem(QString(), int(language));
    }
    for (AppearanceMode mode : AppearanceModes::allCases) {
        m_appearance->addItem(QString(), int(mode));
    }
    m_fontSize->setRange(int(AppModel::minFontSize), int(AppModel::maxFontSize));
    // Typing "12" must not apply "1" (clamped to 9) on the way.
    m_fontSize->setKeyboardTracking(false);

    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(m_languageCaption, m_language);
    form->addRow(m_appearanceCaption, m_appearance);
    form->addRow(m_fontSizeCaption, m_fontSize);

    auto *bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(m_close);

    auto *column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addStretch(1);
    column->addLayout(bottom);
    setMinimumWidth(360);

    connect(m_language, &QComboBox::activated, this,
            [this](int index) { m_model.setLanguage(AppLanguage(m_language->itemData(index).toInt())); });
    connect(m_appearance, &QComboBox::activated, this,
            [this](int index) { m_model.setAppearance(AppearanceMode(m_appearance->itemData(index).toInt())); });
    connect(m_fontSize, &QSpinBox::valueChanged, this, [this](int points) { m_model.setFontSize(points); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::accept);

    connect(&m_model, &AppModel::languageChanged, this, &PreferencesDialog::retranslate);
    connect(&m_model, &AppModel::appearanceChanged, this, &PreferencesDialog::showValues);
    connect(&m_model, &AppModel::editorFontSizeChanged, this, &PreferencesDialog::showValues);

    retranslate();
}

void PreferencesDialog::retranslate()
{
    const AppLanguage language = m_model.language();
    setWindowTitle(L10n::text("Preferences", language));
    m_languageCaption->setText(L10n::text("Language", language));
    m_appearanceCaption->setText(L10n::text("Appearance", language));
    m_fontSizeCaption->setText(L10n::text("Editor Font Size", language));
    m_close->setText(L10n::text("Close", language));
    for (int i = 0; i < m_language->count(); ++i) {
        m_language->setItemText(i, languageLabel(AppLanguage(m_language->itemData(i).toInt()), language));
    }
    for (int i = 0; i < m_appearance->count(); ++i) {
        m_appearance->setItemText(i, appearanceLabel(AppearanceMode(m_appearance->itemData(i).toInt()), language));
    }
    showValues();
}

void PreferencesDialog::showValues()
{
    const QSignalBlocker languageBlocker(m_language);
    const QSignalBlocker appearanceBlocker(m_appearance);
    const QSignalBlocker fontBlocker(m_fontSize);
    m_language->setCurrentIndex(m_language->findData(int(m_model.language())));
    m_appearance->setCurrentIndex(m_appearance->findData(int(m_model.appearance())));
    m_fontSize->setValue(int(std::lround(m_model.editorFontSize())));
}
