#pragma once

#include "base/appearancemode.h"

#include <QWidget>

class AppModel;
class EditorController;
class QAction;
class QMenu;
class QToolButton;

// The bar of tools across the top of the window. Its arrangement follows its
// own width, so it adapts wherever it is placed:
// - wide (1050 px and more): every tool with icon and label, the program tools
//   in the "Lines", "Adjustments" and "Navigate" menus;
// - medium (760 to 1050): the same tools, the plain buttons as icons only;
// - compact (below 760): the primary tools as icons, everything else gathered
//   into the "Editing", "Program", "Analysis Panel" and "Font Size" menus.
// Every control calls one model or editor operation; the bar keeps nothing
// but the checked state of the analysis toggle, which mirrors the model.
//
// The bar never asks for more width than it is given: what does not fit is
// cut at the right edge rather than forcing the window wider.
class ActionBar : public QWidget {
    Q_OBJECT

public:
    enum class Layout { wide, medium, compact };
    static constexpr int wideFrom = 1050;
    static constexpr int mediumFrom = 760;
    static Layout layoutFor(int width);

    ActionBar(AppModel &model, EditorController &controller, QWidget *parent = nullptr);

    Layout currentLayout() const { return m_layout; }
    // A panel's toggle, offered in the Navigate menu of the wide and medium
    // bars and in the compact bar's panel menu, so no layout gains a button.
    void addPanelToggle(QAction *toggle);
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QToolButton *addButton(QAction *action, const char *objectName);
    QToolButton *addMenuButton(QMenu *menu, const QString &icon, const char *objectName);
    void arrange(Layout layout);
    void place(Layout layout);
    void retranslate();
    void showAppearance(AppearanceMode mode);

    AppModel &m_model;
    Layout m_layout = Layout::wide;
    bool m_arranging = false;
    QList<QToolButton *> m_primary;   // always shown
    QList<QToolButton *> m_full;      // wide and medium only
    QList<QToolButton *> m_iconFirst; // labels only in the wide bar
    QList<QToolButton *> m_compact;   // compact only
    QList<QWidget *> m_fullSeparators;
    QAction *m_analysis = nullptr;
    QMenu *m_navigateMenu = nullptr;
    QMenu *m_panelMenu = nullptr;
    QToolButton *m_appearance = nullptr;
};
