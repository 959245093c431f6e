#pragma once

#include <QDialog>
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QUuid>

#include <functional>

class ActionBar;
class AppModel;
class CommandMenus;
class EditorController;
class EditorPane;
class InspectorView;
class QAction;
class QSplitter;
class ToolpathPanel;

// The program's one window: menus, the action bar, and a horizontal split of
// the Explorer sidebar, the editor pane (with the send panel under it) and
// the analysis panel while the model asks for it.
//
// Everything here is wiring. The window shows what the model holds (title,
// alert, appearance, language, panels) and hands every command to the model or
// the editor. Its first appearance runs the model's start-up (`bootstrap`),
// after the window has connected itself, so the appearance and documents that
// start-up restores reach the screen.
//
// The sidebar, the send panel and the two settings dialogs are other views;
// the window only makes room for them: `setSidebar` and `setSendPanel` place a
// widget, and the factories make a dialog each time the model or the user
// asks for one.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    using DialogFactory = std::function<QDialog *(QWidget *parent)>;

    static constexpr int minimumWidth = 900;
    static constexpr int minimumHeight = 560;
    static constexpr int defaultWidth = 1160;
    static constexpr int defaultHeight = 720;

    explicit MainWindow(AppModel &model, QWidget *parent = nullptr);
    ~MainWindow() override;

    void setSidebar(QWidget *sidebar);
    void setSendPanel(QWidget *panel);
    // The machine settings sheet, shown while the model's `showingMachines` is set.
    void setMachineSettingsFactory(DialogFactory factory) { m_machineSettingsFactory = std::move(factory); }
    // The preferences dialog, shown by File > Preferences… (Ctrl+,).
    void setPreferencesFactory(DialogFactory factory) { m_preferencesFactory = std::move(factory); }

    EditorController &editorController() const { return *m_controller; }
    EditorPane *editorPane() const { return m_pane; }
    ActionBar *actionBar() const { return m_actionBar; }
    InspectorView *inspector() const { return m_inspector; }
    CommandMenus *menus() const { return m_menus; }
    // The Toolpath panel beside the editor; hidden until asked for, so the
    // window's layout stays as it was for everyone who does not open it.
    ToolpathPanel *toolpathPanel() const { return m_toolpath; }
    QAction *toolpathToggle() const { return m_toolpathToggle; }
    void setToolpathVisible(bool visible);
    // The alert on screen, if any.
    QMessageBox *alertBox() const { return m_alertBox; }

    // "VARN Edit" with nothing open, else the selected program's name.
    QString expectedTitle() const;

protected:
    void showEvent(QShowEvent *event) override;

private:
    void updateTitle();
    void showAlert();
    void showMachineSettings(bool showing);
    void showPreferences();
    void showAbout();
    void applyAppearance(int mode);
    void watchSelectedDocument();

    AppModel &m_model;
    EditorController *m_controller;
    ActionBar *m_actionBar;
    EditorPane *m_pane;
    InspectorView *m_inspector;
    ToolpathPanel *m_toolpath;
    QAction *m_toolpathToggle;
    CommandMenus *m_menus;
    QSplitter *m_columns;
    QSplitter *m_editorColumn;
    QPointer<QMessageBox> m_alertBox;
    QUuid m_alertShown;
    QPointer<QDialog> m_machineSettings;
    QPointer<QDialog> m_preferences;
    DialogFactory m_machineSettingsFactory;
    DialogFactory m_preferencesFactory;
    QMetaObject::Connection m_titleWatch;
    bool m_bootstrapped = false;
};
