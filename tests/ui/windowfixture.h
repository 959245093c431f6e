#pragma once

// A main window over a model wired to a private folder and scripted dialogs.
// The unsaved-work question is answered from `closeAnswers` (empty: cancel).
#include "core/workspace/appmodelfixture.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "window/commandmenus.h"
#include "window/editorpane.h"
#include "window/mainwindow.h"

#include <QAction>

class MainWindowTest : public AppModelTest {
protected:
    void SetUp() override
    {
        AppModelTest::SetUp();
        window = std::make_unique<MainWindow>(*model);
        window->editorController().setBeep([this] { ++beeps; });
        window->editorPane()->setCloseQuestion([this](EditorDocument *) {
            ++closeQuestions;
            return closeAnswers.isEmpty() ? EditorPane::CloseAnswer::cancel : closeAnswers.takeFirst();
        });
        window->show(); // runs the model's start-up
        QCoreApplication::processEvents();
    }
    void TearDown() override { window.reset(); }

    void trigger(const char *englishMenuText)
    {
        QAction *action = window->menus()->action(QString::fromUtf8(englishMenuText));
        ASSERT_NE(action, nullptr) << englishMenuText;
        action->trigger();
        QCoreApplication::processEvents();
    }

    std::unique_ptr<MainWindow> window;
    QList<EditorPane::CloseAnswer> closeAnswers;
    int closeQuestions = 0;
    int beeps = 0;
};
