#include "actionbar.h"

#include "translatedaction.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "resources/varnicons.h"
#include "theme/varnpalette.h"

#include "workspace/appmodel.h"

#include <QAction>
#include <QActionGroup>
#include <QHBoxLayout>
#include <QMenu>
#include <QResizeEvent>
#include <QToolButton>

namespace {

QWidget *separator(QWidget *parent)
{
    auto *line = new QWidget(parent);
    line->setFixedSize(1, 22);
    line->setAutoFillBackground(true);
    QPalette palette = line->palette();
    QColor colour = VarnPalette::hairline();
    colour.setAlphaF(0.45);
    palette.setColor(QPalette::Window, colour);
    line->setPalette(palette);
    return line;
}

} // namespace

ActionBar::Layout ActionBar::layoutFor(int width)
{
    if (width >= wideFrom) {
        return Layout::wide;
    }
    return width >= mediumFrom ? Layout::medium : Layout::compact;
}

ActionBar::ActionBar(AppModel &model, EditorController &controller, QWidget *parent)
    : QWidget(parent), m_model(model)
{
    setObjectName(QStringLiteral("actionBar"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(0);
    using TranslatedAction::create;

    // Primary tools.
    m_primary = {
        addButton(create(this, VARN_TR_KEY("New"), VARN_TR_KEY("New Program (Ctrl+N)"), QStringLiteral("new"),
                         [this] { m_model.newDocument(); }),
                  "new"),
        addButton(create(this, VARN_TR_KEY("Open…"), VARN_TR_KEY("Open… (Ctrl+O)"), QStringLiteral("open"),
                         [this] { m_model.openDocument(); }),
                  "open"),
        addButton(create(this, VARN_TR_KEY("Save"), VARN_TR_KEY("Save (Ctrl+S)"), QStringLiteral("save"),
                         [this] { m_model.saveSelected(); }),
                  "save"),
        addButton(create(this, VARN_TR_KEY("Save As"), VARN_TR_KEY("Save As… (Ctrl+Shift+S)"),
                         QStringLiteral("save-as"), [this] { m_model.saveAs(m_model.selectedDocument()); }),
                  "saveAs"),
    };
    m_fullSeparators.append(separator(this));
    row->addWidget(m_fullSeparators.last());

    // Editing tools.
    QAction *find = create(this, VARN_TR_KEY("Find"), VARN_TR_KEY("Find (Ctrl+F)"), QStringLiteral("find"),
                           [&controller] { controller.showFind(); });
    QAction *replace = create(this, VARN_TR_KEY("Replace"), VARN_TR_KEY("Find and Replace"),
                              QStringLiteral("replace"), [&controller] { controller.showReplace(); });
    QAction *goTo = create(this, VARN_TR_KEY("Go To"), VARN_TR_KEY("Go to Line or N Block (Ctrl+L)"),
                           QStringLiteral("goto"), [this] { m_model.goToPrompt(); });
    m_full = {addButton(find, "find"), addButton(replace, "replace"), addButton(goTo, "goTo")};
    m_iconFirst = m_primary + m_full;

    // The program tools, grouped.
    QMenu *lines = TranslatedAction::menu(this, VARN_TR_KEY("Lines"));
    const auto tool = [this](AppModel::Tool t) { return [this, t] { m_model.applyTool(t); }; };
    lines->addActions({
        create(this, VARN_TR_KEY("Renumber All Lines"), nullptr, {}, tool(AppModel::Tool::renumber)),
        create(this, VARN_TR_KEY("Number Lines Where Missing"), nullptr, {}, tool(AppModel::Tool::addLineNumbers)),
        create(this, VARN_TR_KEY("Remove N Line Numbers"), nullptr, {}, tool(AppModel::Tool::removeLineNumbers)),
        create(this, VARN_TR_KEY("Format Spacing"), nullptr, {}, tool(AppModel::Tool::formatSpacing)),
    });
    QMenu *adjustments = TranslatedAction::menu(this, VARN_TR_KEY("Adjustments"));
    adjustments->addActions({
        create(this, VARN_TR_KEY("Remove Coolant M8/M08"), nullptr, {}, tool(AppModel::Tool::removeCoolant)),
        create(this, VARN_TR_KEY("Remove M Codes…"), nullptr, {}, [this] { m_model.removeMCodesPrompt(); }),
        create(this, VARN_TR_KEY("Reduce Feed F by %…"), nullptr, {}, [this] { m_model.reduceFeedPrompt(); }),
        create(this, VARN_TR_KEY("Adjust Spindle S by %…"), nullptr, {}, [this] { m_model.adjustSpindlePrompt(); }),
        create(this, VARN_TR_KEY("XYZ Axis Ranges"), nullptr, {}, [this] { m_model.showAxisRanges(); }),
    });
    QMenu *navigate = TranslatedAction::menu(this, VARN_TR_KEY("Navigate"));
    navigate->addActions({
        create(this, VARN_TR_KEY("Go to Line or N Block…"), nullptr, {}, [this] { m_model.goToPrompt(); }),
        create(this, VARN_TR_KEY("Next Tool Change"), nullptr, {},
               [&controller] { controller.jumpToNext(EditorController::toolChangePattern()); }),
        create(this, VARN_TR_KEY("Next Spindle Speed S"), nullptr, {},
               [&controller] { controller.jumpToNext(EditorController::spindlePattern()); }),
    });
    m_navigateMenu = navigate;
    m_full.append({addMenuButton(lines, QStringLiteral("lines"), "lines"),
                   addMenuButton(adjustments, QStringLiteral("adjustments"), "adjustments"),
                   addMenuButton(navigate, QStringLiteral("navigate"), "navigate")});

    // The analysis toggle, drawn pressed while the panel is open.
    m_analysis = create(this, VARN_TR_KEY("Analysis Panel"), nullptr, QStringLiteral("analysis"),
                        [this] { m_model.toggleInspector(); });
    m_analysis->setCheckable(true);
    m_analysis->setChecked(m_model.showInspector());
    m_fullSeparators.append(separator(this));
    row->addWidget(m_fullSeparators.last());
    m_full.append(addButton(m_analysis, "analysisPanel"));
    m_iconFirst.append(m_full.last());

    QAction *smaller = create(this, VARN_TR_KEY("Decrease Font Size"), VARN_TR_KEY("Decrease Font Size (Ctrl+-)"),
                              QStringLiteral("font-smaller"),
                              [this] { m_model.setFontSize(m_model.editorFontSize() - 1); });
    QAction *larger = create(this, VARN_TR_KEY("Increase Font Size"), VARN_TR_KEY("Increase Font Size (Ctrl++)"),
                             QStringLiteral("font-larger"),
                             [this] { m_model.setFontSize(m_model.editorFontSize() + 1); });
    QToolButton *smallerButton = addButton(smaller, "fontSmaller");
    QToolButton *largerButton = addButton(larger, "fontLarger");
    smallerButton->setToolButtonStyle(Qt::ToolButtonIconOnly);
    largerButton->setToolButtonStyle(Qt::ToolButtonIconOnly);
    m_full.append({smallerButton, largerButton});

    // The compact bar's menus hold the same actions.
    QMenu *editing = TranslatedAction::menu(this, VARN_TR_KEY("Editing"));
    editing->addActions({find, replace, goTo});
    QMenu *program = TranslatedAction::menu(this, VARN_TR_KEY("Program"));
    TranslatedAction::addSection(program, VARN_TR_KEY("Lines"));
    program->addActions(lines->actions());
    TranslatedAction::addSection(program, VARN_TR_KEY("Adjustments"));
    program->addActions(adjustments->actions());
    TranslatedAction::addSection(program, VARN_TR_KEY("Navigation"));
    program->addActions(navigate->actions());
    QMenu *analysis = TranslatedAction::menu(this, VARN_TR_KEY("Analysis Panel"));
    analysis->addAction(m_analysis);
    m_panelMenu = analysis;
    QMenu *font = TranslatedAction::menu(this, VARN_TR_KEY("Font Size"));
    font->addActions({smaller, larger});
    m_compact = {addMenuButton(editing, QStringLiteral("editing"), "editingMenu"),
                 addMenuButton(program, QStringLiteral("adjustments"), "programMenu"),
                 addMenuButton(analysis, QStringLiteral("analysis"), "analysisMenu"),
                 addMenuButton(font, QStringLiteral("font-size"), "fontSizeMenu")};

    // The appearance picker: the current mode's icon, the three modes in its menu.
    row->addStretch(1);
    QMenu *appearance = TranslatedAction::menu(this, VARN_TR_KEY("Appearance"));
    auto *modes = new QActionGroup(appearance);
    const std::pair<const char *, QString> modeNames[] = {{VARN_TR_KEY("System"), QStringLiteral("system")},
                                                          {VARN_TR_KEY("Light"), QStringLiteral("sun")},
                                                          {VARN_TR_KEY("Dark"), QStringLiteral("moon")}};
    for (int i = 0; i < 3; ++i) {
        const AppearanceMode mode = AppearanceModes::allCases[i];
        QAction *action = create(appearance, modeNames[i].first, nullptr, {}, [this, mode] { m_model.setAppearance(mode); });
        action->setIcon(VarnIcons::bundled(modeNames[i].second));
        action->setCheckable(true);
        action->setData(int(mode));
        modes->addAction(action);
        appearance->addAction(action);
    }
    m_appearance = new QToolButton(this);
    m_appearance->setObjectName(QStringLiteral("appearance"));
    m_appearance->setMenu(appearance);
    m_appearance->setPopupMode(QToolButton::InstantPopup);
    m_appearance->setAutoRaise(true);
    m_appearance->setIconSize(QSize(18, 18));
    m_appearance->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; width: 0px; }"));
    row->addWidget(m_appearance);
    showAppearance(m_model.appearance());
    connect(&m_model, &AppModel::appearanceChanged, this, &ActionBar::showAppearance);
    connect(&m_model, &AppModel::showInspectorChanged, m_analysis, &QAction::setChecked);
    connect(&m_model, &AppModel::languageChanged, this, &ActionBar::retranslate);
    retranslate();
}

void ActionBar::addPanelToggle(QAction *toggle)
{
    m_navigateMenu->addSeparator();
    m_navigateMenu->addAction(toggle);
    m_panelMenu->addAction(toggle);
}

QToolButton *ActionBar::addButton(QAction *action, const char *objectName)
{
    auto *button = new QToolButton(this);
    button->setObjectName(QLatin1String(objectName));
    button->setDefaultAction(action);
    button->setAutoRaise(true);
    button->setIconSize(QSize(17, 17));
    layout()->addWidget(button);
    return button;
}

QToolButton *ActionBar::addMenuButton(QMenu *menu, const QString &icon, const char *objectName)
{
    auto *button = new QToolButton(this);
    button->setObjectName(QLatin1String(objectName));
    button->setMenu(menu);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setIcon(VarnIcons::icon(icon));
    button->setAutoRaise(true);
    button->setIconSize(QSize(17, 17));
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    // Fusion tucks the menu arrow under the label's corner; a chevron after the text reads better.
    button->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; width: 0px; }"));
    layout()->addWidget(button);
    return button;
}

QSize ActionBar::minimumSizeHint() const
{
    return {0, sizeHint().height()};
}

void ActionBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Inside arrange() the parent may lay us out again; arrange() looks at the
    // width it ends with.
    // The wide bar is looked at on every resize: whether its labels fit
    // depends on the width within its range, not only on crossing one.
    const Layout wanted = layoutFor(event->size().width());
    if (!m_arranging && (wanted != m_layout || wanted == Layout::wide)) {
        arrange(wanted);
    }
}

void ActionBar::arrange(Layout layout)
{
    m_arranging = true;
    place(layout);
    // Showing buttons can make the parent lay us out at once, at a new width.
    if (layoutFor(width()) != m_layout) {
        place(layoutFor(width()));
    }
    m_arranging = false;
}

void ActionBar::place(Layout layout)
{
    m_layout = layout;
    const bool compact = layout == Layout::compact;
    for (QToolButton *button : m_full) {
        button->setVisible(!compact);
    }
    for (QWidget *line : m_fullSeparators) {
        line->setVisible(!compact);
    }
    for (QToolButton *button : m_compact) {
        button->setVisible(compact);
    }
    // The wide bar labels its tools where the labels fit whole; a language
    // with longer words keeps the wide bar's tools with their icons alone
    // rather than cutting its words short.
    const auto label = [this](bool labelled) {
        for (QToolButton *button : m_iconFirst) {
            button->setToolButtonStyle(labelled ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
        }
    };
    label(layout == Layout::wide);
    if (layout == Layout::wide && this->layout()->sizeHint().width() > width()) {
        label(false);
    }
}

void ActionBar::retranslate()
{
    const AppLanguage language = m_model.language();
    TranslatedAction::retranslate(this, language);
    for (QToolButton *button : m_full + m_compact) {
        if (button->menu()) {
            button->setText(button->menu()->title() + QStringLiteral(" \u25BE"));
            button->setToolTip(button->menu()->title());
        }
    }
    m_appearance->setToolTip(L10n::text("Appearance: System / Light / Dark", language));
    m_appearance->setAccessibleName(L10n::text("Appearance", language));
    if (!m_arranging) {
        arrange(layoutFor(width())); // the words' widths changed
    }
}

void ActionBar::showAppearance(AppearanceMode mode)
{
    for (QAction *action : m_appearance->menu()->actions()) {
        if (action->data().toInt() == int(mode)) {
            action->setChecked(true);
            m_appearance->setIcon(action->icon());
        }
    }
}
