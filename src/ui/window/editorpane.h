#pragma once

#include "window/unsavedchanges.h"

#include "base/l10n.h"

#include <QSet>
#include <QUuid>
#include <QWidget>

#include <functional>

class AppModel;
class EditorController;
class EditorDocument;
class GCodeEditor;
class QLabel;
class QStackedWidget;
class QTabBar;
class QToolButton;

// The middle of the window: a row of tabs, one per open program in the
// model's order, and the code editor showing the selected one; with nothing
// open, an invitation to create, open or drop a program.
//
// A tab reads the program's file name (or "Untitled"), a dot while it has
// unsaved changes and "Loading…" while its file is still being read. A
// program read in a code page names it in its tab's tooltip and in a status
// line under the editor, shown only then (UTF-8 programs keep the pane as it was). Closing a
// tab with unsaved work asks first; the model itself closes without asking.
// Choosing "Save" closes the tab only once the save has gone through, so a
// cancelled save panel or a failed write keeps the work on screen.
class EditorPane : public QWidget {
    Q_OBJECT

public:
    using CloseAnswer = UnsavedAnswer;
    using CloseQuestion = std::function<CloseAnswer(EditorDocument *)>;

    EditorPane(AppModel &model, EditorController &controller, QWidget *parent = nullptr);

    GCodeEditor *editor() const { return m_editor; }
    QTabBar *tabBar() const { return m_tabs; }
    QToolButton *newButton() const { return m_new; }
    QLabel *encodingStatus() const { return m_encodingStatus; }
    bool isShowingEmptyState() const;

    // Asks before closing `document` when it is dirty, then closes it or not.
    void requestClose(EditorDocument *document);
    // Who answers the unsaved-work question; a message box unless replaced (tests).
    void setCloseQuestion(CloseQuestion question) { m_question = std::move(question); }

    // What a tab says for a document.
    static QString tabText(const EditorDocument &document, bool dirty, AppLanguage language);

private:
    void syncTabs();
    void syncSelection();
    void updateTab(EditorDocument *document);
    void retranslate();
    int indexOf(const EditorDocument *document) const;
    CloseAnswer askAboutUnsavedWork(EditorDocument *document);
    void updateEncodingStatus();

    AppModel &m_model;
    QTabBar *m_tabs;
    QToolButton *m_new;
    QStackedWidget *m_stack;
    GCodeEditor *m_editor;
    QWidget *m_empty;
    QLabel *m_emptyTitle;
    QLabel *m_emptyMessage;
    QLabel *m_encodingStatus;
    CloseQuestion m_question;
    QSet<QUuid> m_watched; // documents whose changes update their tab
    bool m_syncing = false;
};
