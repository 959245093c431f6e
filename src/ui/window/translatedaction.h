#pragma once

#include "base/l10n.h"

#include <QString>

#include <functional>

class QAction;
class QMenu;
class QObject;
class QWidget;

// Actions and menus that remember the English keys of their texts, so a
// change of language retranslates every one of them in one sweep, menus
// included, without rebuilding anything.
namespace TranslatedAction {

// An action parented to `parent` that runs `run` when triggered. `helpKey`
// (may be null) becomes its tooltip, else the tooltip is the text itself.
QAction *create(QObject *parent, const char *textKey, const char *helpKey, const QString &icon,
                std::function<void()> run);
// A menu whose title is the key's text.
QMenu *menu(QWidget *parent, const char *titleKey);
// A section title inside a menu, retranslated with the rest.
void addSection(QMenu *menu, const char *titleKey);
// Gives every keyed action and menu under `root` the text of `language`.
void retranslate(const QObject *root, AppLanguage language);

} // namespace TranslatedAction
