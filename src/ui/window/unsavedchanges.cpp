#include "unsavedchanges.h"

#include <QMessageBox>
#include <QPushButton>

UnsavedAnswer askAboutUnsavedChanges(QWidget *parent, const QString &title, const QString &name,
                                     AppLanguage language)
{
    QMessageBox box(QMessageBox::Warning, title, L10n::format("Save changes to %@?", language, {name}),
                    QMessageBox::NoButton, parent);
    box.setInformativeText(L10n::text("Your changes will be lost if you don't save them.", language));
    QPushButton *save = box.addButton(L10n::text("Save", language), QMessageBox::AcceptRole);
    QPushButton *dontSave = box.addButton(L10n::text("Don't Save", language), QMessageBox::DestructiveRole);
    box.addButton(L10n::text("Cancel", language), QMessageBox::RejectRole);
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() == save) {
        return UnsavedAnswer::save;
    }
    return box.clickedButton() == dontSave ? UnsavedAnswer::dontSave : UnsavedAnswer::cancel;
}
