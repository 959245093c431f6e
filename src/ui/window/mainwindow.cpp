#include "mainwindow.h"

#include "actionbar.h"
#include "commandmenus.h"
#include "editorpane.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "panels/inspectorview.h"
#include "panels/receivedialog.h"
#include "theme/appearance.h"
#include "theme/varnpalette.h"
#include "toolpath/toolpathpanel.h"
#include "window/translatedaction.h"

#include "workspace/appmodel.h"

#include <QApplication>
#include <QDialog>
#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <numeric>

namespace {

QWidget *hairline(QWidget *parent)
{
    auto *line = new QWidget(parent);
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    QPalette palette = line->palette();
    palette.setColor(QPalette::Window, VarnPalette::hairline());
    line->setPalette(palette);
    return line;
}

} // namespace

MainWindow::MainWindow(AppModel &model, QWidget *parent)
    : QMainWindow(parent), m_model(model), m_controller(new EditorController(this))
{
    setObjectName(QStringLiteral("mainWindow"));
    setMinimumSize(minimumWidth, minimumHeight);
    resize(defaultWidth, defaultHeight);

    m_actionBar = new ActionBar(model, *m_controller, this);
    m_pane = new EditorPane(model, *m_controller, this);
    m_inspector = new InspectorView(model, this);

    m_editorColumn = new QSplitter(Qt::Vertical, this);
    m_editorColumn->setChildrenCollapsible(false);
    m_editorColumn->addWidget(m_pane);
    m_columns = new QSplitter(Qt::Horizontal, this);
    m_columns->setChildrenCollapsible(false);
    m_columns->setHandleWidth(1);
    m_columns->addWidget(m_editorColumn);
    m_toolpath = new ToolpathPanel(model, *m_controller, this);
    m_toolpath->hide();
    m_columns->addWidget(m_toolpath);
    m_columns->addWidget(m_inspector);
    m_columns->setStretchFactor(0, 1);
    m_columns->setStretchFactor(1, 0);
    m_columns->setStretchFactor(2, 0);
    m_inspector->setVisible(model.showInspector());

    auto *central = new QWidget(this);
    auto *column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_actionBar);
    column->addWidget(hairline(central));
    column->addWidget(m_columns, 1);
    setCentralWidget(central);

    m_menus = new CommandMenus(model, *m_controller, menuBar(),
                               {[this] { showPreferences(); }, [this] { showAbout(); }, [this] { close(); }});
    m_model.setEditor(m_controller);

    m_toolpathToggle = TranslatedAction::create(m_menus, VARN_TR_KEY("Toolpath"), VARN_TR_KEY("Toolpath (Ctrl+Shift+P)"),
                                                {}, [this] { setToolpathVisible(m_toolpath->isHidden()); });
    m_toolpathToggle->setCheckable(true);
    m_toolpathToggle->setText(L10n::text("Toolpath", model.language()));
    m_toolpathToggle->setToolTip(L10n::text("Toolpath (Ctrl+Shift+P)", model.language()));
    m_toolpathToggle->setShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+P")));
    if (QAction *inspectorItem = m_menus->action(QStringLiteral("Analysis Panel"))) {
        for (QObject *owner : inspectorItem->associatedObjects()) {
            if (auto *menu = qobject_cast<QMenu *>(owner)) {
                const QList<QAction *> items = menu->actions();
                const qsizetype at = items.indexOf(inspectorItem);
                menu->insertAction(at + 1 < items.size() ? items[at + 1] : nullptr, m_toolpathToggle);
            }
        }
    }
    addAction(m_toolpathToggle);
    connect(m_toolpath, &ToolpathPanel::warningsChanged, this, [this] {
        QList<std::pair<int, QString>> rows;
        if (!m_toolpath->isHidden()) {
            for (const ToolpathWarning &warning : m_toolpath->warnings())
                rows.append({warning.line, warning.message});
        }
        m_inspector->setToolpathWarnings(rows);
    });
    m_actionBar->addPanelToggle(m_toolpathToggle);

    connect(&m_model, &AppModel::selectedDocumentChanged, this, &MainWindow::watchSelectedDocument);
    connect(&m_model, &AppModel::documentsChanged, this, &MainWindow::updateTitle);
    connect(&m_model, &AppModel::languageChanged, this, &MainWindow::updateTitle);
    connect(&m_model, &AppModel::alertChanged, this, &MainWindow::showAlert);
    connect(&m_model, &AppModel::showInspectorChanged, m_inspector, &QWidget::setVisible);
    connect(&m_model, &AppModel::showingMachinesChanged, this, &MainWindow::showMachineSettings);
    connect(&m_model, &AppModel::receiveRequested, this,
            [this](AppModel::ReceiveMode mode) { ReceiveDialog::present(m_model, this, mode); });
    connect(&m_model, &AppModel::appearanceApplied, this,
            [this](AppearanceMode mode) { applyAppearance(int(mode)); });
    watchSelectedDocument();
}

MainWindow::~MainWindow()
{
    // The model outlives the window; it must not navigate a deleted editor.
    if (m_model.editor() == m_controller) {
        m_model.setEditor(nullptr);
    }
}

void MainWindow::setToolpathVisible(bool visible)
{
    m_toolpathToggle->setChecked(visible);
    if (visible == !m_toolpath->isHidden())
        return;
    const int index = m_columns->indexOf(m_toolpath);
    QList<int> sizes = m_columns->sizes();
    const int editorIndex = m_columns->indexOf(m_editorColumn);
    m_toolpath->setVisible(visible);
    emit m_toolpath->warningsChanged();
    if (visible) {
        // The panel takes its room from the editor, never from the sidebar or the inspector.
        // Before the first layout the splitter has no sizes yet: share the window's width.
        const int room = sizes[editorIndex] > 0 ? sizes[editorIndex] : width() - 240;
        const int panelWidth = std::max(320, room * 9 / 20);
        sizes[editorIndex] = room;
        sizes[index] = panelWidth;
        sizes[editorIndex] = std::max(200, sizes[editorIndex] - panelWidth);
    } else {
        sizes[editorIndex] += sizes[index];
        sizes[index] = 0;
    }
    m_columns->setSizes(sizes);
}

void MainWindow::showEvent(QShowEvent *event)
{
    QMainWindow::showEvent(event);
    if (!m_bootstrapped) {
        m_bootstrapped = true;
        m_model.bootstrap();
    }
}

void MainWindow::setSidebar(QWidget *sidebar)
{
    m_columns->insertWidget(0, sidebar);
    m_columns->setStretchFactor(0, 0);
    m_columns->setStretchFactor(1, 1);
    QList<int> sizes = m_columns->sizes();
    const int total = std::accumulate(sizes.begin(), sizes.end(), 0);
    sizes[0] = 240;
    sizes[1] = std::max(0, total - 240 - (m_inspector->isVisible() ? InspectorView::panelWidth : 0));
    m_columns->setSizes(sizes);
}

void MainWindow::setSendPanel(QWidget *panel)
{
    m_editorColumn->addWidget(panel);
    m_editorColumn->setStretchFactor(0, 1);
    m_editorColumn->setStretchFactor(1, 0);
}

QString MainWindow::expectedTitle() const
{
    const EditorDocument *doc = m_model.selectedDocument();
    return doc ? doc->displayName(m_model.language()) : L10n::text("VARN Edit", m_model.language());
}

void MainWindow::watchSelectedDocument()
{
    disconnect(m_titleWatch);
    if (EditorDocument *doc = m_model.selectedDocument()) {
        m_titleWatch = connect(doc, &EditorDocument::urlChanged, this, &MainWindow::updateTitle);
    }
    updateTitle();
}

void MainWindow::updateTitle()
{
    setWindowTitle(expectedTitle());
}

void MainWindow::showAlert()
{
    const std::optional<AppAlert> &alert = m_model.alert();
    if (alert && alert->id == m_alertShown && m_alertBox) {
        return;
    }
    if (m_alertBox) {
        // Replaced or cleared elsewhere: the old box goes without touching the model.
        m_alertShown = QUuid();
        m_alertBox->done(0);
    }
    if (!alert) {
        return;
    }
    const AppLanguage language = m_model.language();
    auto *box = new QMessageBox(QMessageBox::NoIcon, alert->title, alert->message, QMessageBox::NoButton, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::WindowModal);
    box->setText(QStringLiteral("<b>%1</b>").arg(alert->title.toHtmlEscaped()));
    box->setInformativeText(alert->message);
    box->setTextFormat(Qt::RichText);
    box->addButton(L10n::text("OK", language), QMessageBox::AcceptRole);
    m_alertShown = alert->id;
    m_alertBox = box;
    connect(box, &QMessageBox::finished, this, [this, id = alert->id] {
        if (m_model.alert() && m_model.alert()->id == id) {
            m_alertShown = QUuid();
            m_model.clearAlert();
        }
    });
    box->open();
}

void MainWindow::showMachineSettings(bool showing)
{
    if (!showing) {
        if (m_machineSettings) {
            m_machineSettings->done(QDialog::Accepted);
        }
        return;
    }
    if (m_machineSettings) {
        return;
    }
    QDialog *dialog = m_machineSettingsFactory ? m_machineSettingsFactory(this) : nullptr;
    if (!dialog) {
        // Nothing to show: the flag must not stay set, or the next request would be lost.
        m_model.setShowingMachines(false);
        return;
    }
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    m_machineSettings = dialog;
    connect(dialog, &QDialog::finished, this, [this] { m_model.setShowingMachines(false); });
    dialog->open();
}

void MainWindow::showPreferences()
{
    if (m_preferences) {
        m_preferences->raise();
        m_preferences->activateWindow();
        return;
    }
    if (!m_preferencesFactory) {
        return;
    }
    if (QDialog *dialog = m_preferencesFactory(this)) {
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        m_preferences = dialog;
        dialog->show();
    }
}

void MainWindow::showAbout()
{
    const AppLanguage language = m_model.language();
    const QString version = QApplication::applicationVersion();
    QMessageBox::about(this, L10n::text("About VARN Edit", language),
                       QStringLiteral("<b>VARN Edit%1</b><p>%2</p>")
                           .arg(version.isEmpty() ? QString() : QLatin1Char(' ') + version,
                                L10n::text("G-code editor and DNC sender for CNC machines.", language)));
}

void MainWindow::applyAppearance(int mode)
{
    switch (AppearanceMode(mode)) {
    case AppearanceMode::light:
        Appearance::applyLight();
        break;
    case AppearanceMode::dark:
        Appearance::applyDark();
        break;
    case AppearanceMode::system:
        Appearance::applySystem();
        break;
    }
}
