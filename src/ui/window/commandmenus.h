#pragma once

#include <QObject>

#include <functional>

class AppModel;
class EditorController;
class QAction;
class QMenuBar;

// The menu bar: File, Edit, Program, View, Machine and Help, each item one
// model or editor operation with its keyboard shortcut. No item is ever
// disabled here: an operation that needs an open program does nothing
// without one, as the model decides.
//
// The window supplies what the menus cannot reach themselves: the
// preferences, the About box and quitting.
class CommandMenus : public QObject {
    Q_OBJECT

public:
    struct WindowHooks {
        std::function<void()> showPreferences;
        std::function<void()> showAbout;
        std::function<void()> quit;
    };

    CommandMenus(AppModel &model, EditorController &controller, QMenuBar *bar, WindowHooks hooks);

    // The action with this English text in any menu (tests and the window's
    // own wiring); null when there is none.
    QAction *action(const QString &englishText) const;

private:
    void build();
    void retranslate();

    AppModel &m_model;
    EditorController &m_controller;
    QMenuBar *m_bar;
    WindowHooks m_hooks;
};
