#include "translatedaction.h"

#include "resources/varnicons.h"

#include <QAction>
#include <QMenu>

namespace {

const char *const kTextKey = "varnTextKey";
const char *const kHelpKey = "varnHelpKey";

} // namespace

namespace TranslatedAction {

QAction *create(QObject *parent, const char *textKey, const char *helpKey, const QString &icon,
                std::function<void()> run)
{
    auto *action = new QAction(parent);
    action->setProperty(kTextKey, QString::fromUtf8(textKey));
    if (helpKey) {
        action->setProperty(kHelpKey, QString::fromUtf8(helpKey));
    }
    if (!icon.isEmpty()) {
        action->setIcon(VarnIcons::icon(icon));
    }
    if (run) {
        QObject::connect(action, &QAction::triggered, action, [run = std::move(run)] { run(); });
    }
    return action;
}

QMenu *menu(QWidget *parent, const char *titleKey)
{
    auto *menu = new QMenu(parent);
    menu->setProperty(kTextKey, QString::fromUtf8(titleKey));
    return menu;
}

void addSection(QMenu *menu, const char *titleKey)
{
    QAction *section = menu->addSection(QString());
    section->setParent(menu);
    section->setProperty(kTextKey, QString::fromUtf8(titleKey));
}

void retranslate(const QObject *root, AppLanguage language)
{
    for (QAction *action : root->findChildren<QAction *>()) {
        const QString key = action->property(kTextKey).toString();
        if (key.isEmpty()) {
            continue;
        }
        action->setText(L10n::text(key, language));
        const QString help = action->property(kHelpKey).toString();
        action->setToolTip(help.isEmpty() ? action->text() : L10n::text(help, language));
    }
    for (QMenu *menu : root->findChildren<QMenu *>()) {
        const QString key = menu->property(kTextKey).toString();
        if (!key.isEmpty()) {
            menu->setTitle(L10n::text(key, language));
        }
    }
}

} // namespace TranslatedAction
