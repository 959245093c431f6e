// Spanish runs longer than English; every label and button of the window
// must still show its whole text at each width the window is captured at,
// and the action bar's compact layout below them.
#include "uifixture.h"

#include "panels/filesidebar.h"
#include "panels/sendpanel.h"
#include "toolpath/toolpathpanel.h"
#include "window/actionbar.h"

#include <QAbstractButton>
#include <QLabel>
#include <QToolButton>

namespace {

// The text of `widget` that its rectangle cuts, or empty when all of it shows.
QString cutText(const QWidget *widget)
{
    QString text;
    int room = widget->contentsRect().width();
    if (const auto *label = qobject_cast<const QLabel *>(widget)) {
        text = label->text();
        // Elided by hand: the shown text is the start of the full one in the tooltip.
        if (text.endsWith(QChar(0x2026)) && label->toolTip().startsWith(text.chopped(1))) {
            return text;
        }
        if (label->wordWrap()) {
            // heightForWidth takes and gives the whole label, margins included.
            return label->heightForWidth(label->width()) > label->height() ? text : QString();
        }
        room -= 2 * label->margin() + std::max(label->indent(), 0);
    } else if (const auto *button = qobject_cast<const QAbstractButton *>(widget)) {
        const auto *tool = qobject_cast<const QToolButton *>(widget);
        if (tool && tool->toolButtonStyle() == Qt::ToolButtonIconOnly) {
            return {};
        }
        text = QString(button->text()).remove(QLatin1Char('&'));
        if (button->width() < button->sizeHint().width()) {
            return text; // narrower than the style needs for icon, text and frame
        }
    }
    return widget->fontMetrics().horizontalAdvance(text) > room ? text : QString();
}

QStringList cutTexts(const QWidget *root)
{
    QStringList cut;
    for (const QWidget *widget : root->findChildren<QWidget *>()) {
        if (widget->isVisibleTo(root) && !cutText(widget).isEmpty()) {
            cut.append(QStringLiteral("%1 \"%2\" (%3 px)").arg(widget->metaObject()->className(), cutText(widget)).arg(widget->width()));
        }
    }
    return cut;
}

} // namespace

TEST_F(UiTest, EverySpanishTextFitsAtEachCaptureWidth)
{
    makeModel();
    model->setLanguage(AppLanguage::spanish);
    model->setShowInspector(true);
    window = std::make_unique<MainWindow>(*model);
    window->setSidebar(new FileSidebar(*model, window.get()));
    window->setSendPanel(new SendPanel(*model, window.get()));
    window->show();
    for (const int width : {1180, 1050, 1049, 900}) {
        window->resize(width, 740);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents(); // a row moved in the first pass is laid out in the second
        EXPECT_EQ(cutTexts(window.get()).join("; ").toStdString(), "") << "window " << width;
    }
    QWidget holder; // the window stops at 900; the compact bar shows on a bar of its own
    ActionBar bar(*model, window->editorController(), &holder);
    holder.show();
    bar.resize(740, bar.sizeHint().height());
    QCoreApplication::processEvents();
    EXPECT_EQ(cutTexts(&bar).join("; ").toStdString(), "") << "compact bar";
}

// The Toolpath panel takes its room from the editor: its header and legend fit too, in both languages.
TEST_F(UiTest, ToolpathPanelTextsFitAtEachCaptureWidth)
{
    makeModel();
    window = std::make_unique<MainWindow>(*model);
    window->setSidebar(new FileSidebar(*model, window.get()));
    window->setSendPanel(new SendPanel(*model, window.get()));
    window->setToolpathVisible(true);
    window->show();
    QCoreApplication::processEvents(); // the legend's height follows its width a pass later
    for (const AppLanguage language : {AppLanguage::english, AppLanguage::spanish}) {
        model->setLanguage(language);
        for (const int width : {1180, 1050, 900}) {
            window->resize(width, 740);
            QCoreApplication::processEvents();
            QCoreApplication::processEvents();
            EXPECT_EQ(cutTexts(window->toolpathPanel()).join("; ").toStdString(), "") << "window " << width;
        }
    }
}
