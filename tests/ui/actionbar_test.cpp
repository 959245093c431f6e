#include "uifixture.h"

#include "editor/findbar.h"
#include "editor/gcodeeditor.h"
#include "theme/appearance.h"
#include "window/actionbar.h"

#include <QApplication>
#include <QMenu>
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
    for (const char *name : {"new", "find", "lines", "analysisPanel", "fontLarger", "editingMenu",
                             "programMenu", "fontSizeMenu", "appearance"}) {
        if (button(bar, name)->isVisibleTo(bar->parentWidget())) {
            shown.append(QLatin1String(name));
        }
    }
    const bool labelled = button(bar, "new")->toolButtonStyle() == Qt::ToolButtonTextBesideIcon;
    return (shown.join(' ') + (labelled ? " +labels" : "")).toStdString();
}

} // namespace

TEST_F(UiTest, ActionBarHasThreeLayoutsByWidth)
{
    showWindow();
    // The window stops at 900; a bar of its own goes narrower.
    QWidget holder;
    ActionBar bar(*model, window->editorController(), &holder);
    holder.show();
    const std::pair<int, std::string> widths[] = {
        {1050, "new find lines analysisPanel fontLarger appearance +labels"},
        {1049, "new find lines analysisPanel fontLarger appearance"},
        {760, "new find lines analysisPanel fontLarger appearance"},
        {759, "new editingMenu programMenu fontSizeMenu appearance"},
    };
    for (const auto &[width, seen] : widths) {
        bar.resize(width, bar.sizeHint().height());
        EXPECT_EQ(describe(&bar), seen) << width;
    }
    window->resize(1100, 700);
    QCoreApplication::processEvents();
    EXPECT_EQ(describe(window->actionBar()), widths[0].second) << "the window's own bar follows the window";
    for (QToolButton *tool : bar.findChildren<QToolButton *>()) {
        EXPECT_FALSE(tool->icon().isNull()) << tool->objectName().toStdString();
    }
}
