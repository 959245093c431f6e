#include "windowfixture.h"

#include "editor/findbar.h"
#include "editor/gcodeeditor.h"
#include "resources/varnicons.h"
#include "theme/appearance.h"
#include "window/actionbar.h"

#include <QApplication>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QToolButton>

namespace {

QToolButton *button(const ActionBar *bar, const char *name)
{
    return bar->findChild<QToolButton *>(QLatin1String(name));
}

// What a user sees of the bar: which controls are there and whether the plain buttons carry labels.
std::string describe(const ActionBar *bar)
{
    QStringList shown;
    for (const char *name : {"new", "find", "lines", "analysisPanel", "fontLarger", "editingMenu", "programMenu",
                             "fontSizeMenu", "appearance"}) {
        if (button(bar, name)->isVisibleTo(bar->parentWidget())) {
            shown.append(QLatin1String(name));
        }
    }
    const bool labelled = button(bar, "new")->toolButtonStyle() == Qt::ToolButtonTextBesideIcon;
    return (shown.join(QLatin1Char(' ')) + (labelled ? " +labels" : "")).toStdString();
}

} // namespace

TEST(ActionBarLayout, WidthBoundaries)
{
    EXPECT_EQ(ActionBar::layoutFor(1050), ActionBar::Layout::wide);
    EXPECT_EQ(ActionBar::layoutFor(1049), ActionBar::Layout::medium);
    EXPECT_EQ(ActionBar::layoutFor(760), ActionBar::Layout::medium);
    EXPECT_EQ(ActionBar::layoutFor(759), ActionBar::Layout::compact);
}

TEST_F(MainWindowTest, ActionBarRearrangesWithTheWindowWidth)
{
    ActionBar *bar = window->actionBar();
    window->resize(1100, 700);
    QCoreApplication::processEvents();
    EXPECT_EQ(describe(bar), "new find lines analysisPanel fontLarger appearance +labels");
    window->resize(900, 700);
    QCoreApplication::processEvents();
    EXPECT_EQ(describe(bar), "new find lines analysisPanel fontLarger appearance");

    // The window stops at 900; a bar of its own goes narrower.
    QWidget holder;
    ActionBar alone(*model, window->editorController(), &holder);
    holder.show();
    alone.resize(700, alone.sizeHint().height());
    EXPECT_EQ(describe(&alone), "new editingMenu programMenu fontSizeMenu appearance");
    alone.resize(1100, alone.height());
    EXPECT_EQ(describe(&alone), "new find lines analysisPanel fontLarger appearance +labels");
    for (QToolButton *tool : alone.findChildren<QToolButton *>()) {
        EXPECT_FALSE(tool->icon().isNull()) << tool->objectName().toStdString();
    }
}

TEST_F(MainWindowTest, ActionBarControlsDriveTheModel)
{
    ActionBar *bar = window->actionBar();
    const double size = model->editorFontSize();
    button(bar, "fontLarger")->click();
    EXPECT_EQ(model->editorFontSize(), size + 1);
    button(bar, "fontSmaller")->click();
    EXPECT_EQ(model->editorFontSize(), size);

    button(bar, "analysisPanel")->click();
    EXPECT_TRUE(model->showInspector());
    EXPECT_TRUE(button(bar, "analysisPanel")->isChecked());

    for (QAction *mode : button(bar, "appearance")->menu()->actions()) {
        if (mode->text() == QStringLiteral("Dark")) {
            mode->trigger();
        }
    }
    EXPECT_EQ(model->appearance(), AppearanceMode::dark);
    EXPECT_TRUE(Appearance::isDark(QApplication::palette()));
    model->setAppearance(AppearanceMode::light);

    button(bar, "new")->click();
    EXPECT_EQ(model->documents().size(), 2);
    model->selectedDocument()->setText(QStringLiteral("G0 X1\nG1 X2\n"));
    // The compact bar's Program menu holds the same tools under its three sections.
    QMenu *program = button(bar, "programMenu")->menu();
    QStringList sections;
    for (QAction *item : program->actions()) {
        if (item->isSeparator()) {
            sections.append(item->text());
        } else if (item->text() == QStringLiteral("Renumber All Lines")) {
            item->trigger();
        }
    }
    EXPECT_EQ(sections, (QStringList{"Lines", "Adjustments", "Navigation"}));
    EXPECT_EQ(model->selectedDocument()->text(), QStringLiteral("N10 G0 X1\nN20 G1 X2\n"));

    button(bar, "find")->click();
    EXPECT_TRUE(window->editorPane()->editor()->findBar()->isVisible());
    EXPECT_EQ(beeps, 0);
}

TEST(BundledIcons, EveryDrawingPaintsSomething)
{
    const QStringList names = VarnIcons::bundledNames();
    EXPECT_GE(names.size(), 20);
    for (const QString &name : names) {
        QImage image(24, 24, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        VarnIcons::bundled(name, Qt::black).paint(&painter, image.rect());
        painter.end();
        int inked = 0;
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 24; ++x) {
                inked += qAlpha(image.pixel(x, y)) > 128;
            }
        }
        EXPECT_GT(inked, 12) << name.toStdString();
    }
    EXPECT_TRUE(VarnIcons::bundled(QStringLiteral("no-such-icon")).isNull());
}
