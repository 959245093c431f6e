#include "panelfixture.h"

#include "panels/preferencesdialog.h"

#include <QComboBox>
#include <QSpinBox>

TEST_F(PanelTest, PreferencesApplyAtOnceAndAreStoredUnderTheirKeys)
{
    makeModel();
    PreferencesDialog dialog(*model);
    EXPECT_EQ(dialog.languagePicker()->currentText(), "English");
    EXPECT_EQ(dialog.appearancePicker()->currentText(), "System");
    EXPECT_EQ(dialog.fontSizeField()->value(), 13);

    emit dialog.languagePicker()->activated(1);
    EXPECT_EQ(model->language(), AppLanguage::spanish);
    EXPECT_EQ(stored("varn.language").toString(), "es");
    EXPECT_EQ(dialog.windowTitle(), L10n::text("Preferences", AppLanguage::spanish));
    EXPECT_EQ(dialog.appearancePicker()->itemText(2), L10n::text("Dark", AppLanguage::spanish));

    emit dialog.appearancePicker()->activated(2);
    EXPECT_EQ(model->appearance(), AppearanceMode::dark);
    EXPECT_EQ(stored("varn.appearance").toString(), "dark");

    dialog.fontSizeField()->setValue(40);
    EXPECT_EQ(model->editorFontSize(), 28);
    EXPECT_EQ(stored("varn.fontSize").toDouble(), 28);

    model->setFontSize(12); // from the menu while the dialog is open
    EXPECT_EQ(dialog.fontSizeField()->value(), 12);
    model->setLanguage(AppLanguage::english);
    EXPECT_EQ(dialog.languagePicker()->currentText(), "English");
}
