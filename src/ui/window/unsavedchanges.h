#pragma once

#include "base/l10n.h"

#include <QString>

class QWidget;

enum class UnsavedAnswer { save, dontSave, cancel };

// The one question asked before unsaved work would be lost (closing a tab,
// leaving an edited machine profile): "Save changes to NAME?" with "Save",
// "Don't Save" and "Cancel", Save the default.
UnsavedAnswer askAboutUnsavedChanges(QWidget *parent, const QString &title, const QString &name,
                                     AppLanguage language);
