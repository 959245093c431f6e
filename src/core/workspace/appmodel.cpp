#include "appmodel.h"

#include "transport/networkaddress.h"
#include "transport/serialportscanner.h"
#include "workspace/networkporthistory.h"
#include "workspace/dialogs.h"
#include "workspace/externalfileopencoordinator.h"
#include "base/textfile.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QtConcurrent>

#include <cmath>

namespace {

const QString kAppearanceKey = QStringLiteral("varn.appearance");
const QString kLanguageKey = QStringLiteral("varn.language");
const QString kFontSizeKey = QStringLiteral("varn.fontSize");
const QString kFoldersKey = QStringLiteral("varn.folders");
const QString kNetworkPortsKey = QStringLiteral("varn.networkPorts");
const QString kLineNumbersKey = QStringLiteral("varn.lineNumbers");

// Absolute, with "." and ".." resolved, so one file has one URL however it
// was named (a relative VARN_OPEN, a path with "..", the open panel's answer).
QUrl standardized(const QUrl &url)
{
    return QUrl::fromLocalFile(QDir::cleanPath(QFileInfo(url.toLocalFile()).absoluteFilePath()));
}

std::unique_ptr<QSettings> openSettings(const QString &file)
{
    if (file.isEmpty()) {
        return std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VarnEdit"),
                                           QStringLiteral("VarnEdit"));
    }
    return std::make_unique<QSettings>(file, QSettings::IniFormat);
}

// A stored number, as the settings hand it back: a double written by this
// program, or text that reads entirely as one (an INI file keeps only text).
std::optional<double> storedNumber(const QVariant &value)
{
    if (!value.isValid()) {
        return std::nullopt;
    }
    bool ok = false;
    double number = 0;
    switch (value.typeId()) {
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        number = value.toDouble(&ok);
        break;
    case QMetaType::QString:
    case QMetaType::QByteArray:
        number = value.toString().toDouble(&ok);
        break;
    default:
        break;
    }
    if (!ok || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

} // namespace

AppModel::AppModel(QObject *parent) : AppModel(Options{}, parent) {}

AppModel::AppModel(Options options, QObject *parent)
    : QObject(parent),
      m_dialogs(options.dialogs),
      m_settings(openSettings(options.settingsFile)),
      m_listPorts(options.listPorts ? std::move(options.listPorts) : [] { return SerialPortScanner::available(); }),
      m_backups(options.backupFolder, options.clock)
{
    m_machineStore = options.machineStoreFile.isEmpty() ? new MachineStore(this)
                                                        : new MachineStore(options.machineStoreFile, this);
    m_transportFactory = options.transportFactory;
    m_transfer = new TransferController(std::move(options.transportFactory), this);

    AppLanguage stored = AppLanguage::english;
    if (AppLanguages::fromRawValue(m_settings->value(kLanguageKey).toString(), &stored)) {
        m_language = stored;
    }
    m_showLineNumbers = m_settings->value(kLineNumbersKey, false).toBool();

    m_analysisDelay.setSingleShot(true);
    m_analysisDelay.setInterval(analysisDelayMs);
    connect(&m_analysisDelay, &QTimer::timeout, this, &AppModel::refreshAnalysis);
    connect(&m_analysisWatcher, &QFutureWatcher<ProgramAnalysis>::finished, this, &AppModel::analysisFinished);

    m_autosaveTimer.setInterval(autosaveIntervalMs);
    connect(&m_autosaveTimer, &QTimer::timeout, this, &AppModel::autosave);
}

AppModel::~AppModel()
{
    // Background work holds only copies of values, so nothing has to be
    // waited for; cancelling just stops it burning time for nobody.
    m_analysisTask.cancel();
    m_prefetchTask.cancel();
}

void AppModel::bootstrap()
{
    ExternalFileOpenCoordinator::shared().connect(this, [this](const QUrl &url) { openFile(url); });
    ensureOneDocument();
    if (!m_selectedMachineId && !m_machineStore->machines().isEmpty()) {
        setSelectedMachineId(m_machineStore->machines().first().id);
    }
    m_transfer->setLanguage(m_language);
    refreshPorts();

    if (const auto mode = AppearanceModes::fromRawValue(m_settings->value(kAppearanceKey).toString())) {
        if (*mode != m_appearance) {
            m_appearance = *mode;
            emit appearanceChanged(m_appearance);
        }
    }
    applyAppearance();

    // Taken as stored: the 9-28 limits belong to the font commands.
    if (const auto size = storedNumber(m_settings->value(kFontSizeKey)); size && *size != m_editorFontSize) {
        m_editorFontSize = *size;
        emit editorFontSizeChanged(m_editorFontSize);
    }

    m_autosaveTimer.start();
    loadFolders();

    if (qEnvironmentVariableIsSet("VARN_FOLDER")) {
        QList<QUrl> folders;
        const QStringList pieces = qEnvironmentVariable("VARN_FOLDER").split(QLatin1Char(':'), Qt::SkipEmptyParts);
        for (const QString &piece : pieces) {
            folders.append(standardized(QUrl::fromLocalFile(piece)));
        }
        setFolderUrls(folders);
        rebuildRoots();
    }
    if (qEnvironmentVariableIsSet("VARN_OPEN")) {
        openFile(QUrl::fromLocalFile(qEnvironmentVariable("VARN_OPEN")));
    }
    if (qEnvironmentVariableIsSet("VARN_INSPECTOR")) {
        setShowInspector(true);
        refreshAnalysis();
    }
    startExplorerPrefetch();
}

// --- Documents ---------------------------------------------------------------

EditorDocument *AppModel::selectedDocument() const
{
    return m_selectedDocumentId ? document(*m_selectedDocumentId) : nullptr;
}

EditorDocument *AppModel::document(const QUuid &id) const
{
    for (EditorDocument *doc : m_documents) {
        if (doc->id() == id) {
            return doc;
        }
    }
    return nullptr;
}

void AppModel::setSelectedDocumentId(std::optional<QUuid> id)
{
    if (id == m_selectedDocumentId) {
        return;
    }
    m_selectedDocumentId = id;
    emit selectedDocumentChanged();
    if (m_showInspector) {
        refreshAnalysis();
    } else if (m_analysis) {
        setAnalysis(std::nullopt); // it described the document shown before
    }
}

void AppModel::adopt(EditorDocument *doc, qsizetype index)
{
    doc->setParent(this);
    m_documents.insert(index, doc);
    connect(doc, &EditorDocument::textChanged, this, [this, doc] { documentTextChanged(doc); });
    connect(doc, &EditorDocument::loadingChanged, this,
            [this, doc](bool loading) { documentLoadingChanged(doc, loading); });
}

EditorDocument *AppModel::newDocument()
{
    auto *doc = new EditorDocument(this);
    adopt(doc, m_documents.size());
    emit documentsChanged();
    setSelectedDocumentId(doc->id());
    return doc;
}

void AppModel::openDocument()
{
    if (!m_dialogs) {
        return;
    }
    const QList<QUrl> urls = m_dialogs->chooseFiles(L10n::text("Choose one or more programs to edit", m_language), {});
    for (const QUrl &url : urls) {
        openFile(url);
    }
}

void AppModel::openFile(const QUrl &rawUrl)
{
    if (!rawUrl.isLocalFile()) {
        return;
    }
    const QUrl url = standardized(rawUrl);
    for (EditorDocument *doc : std::as_const(m_documents)) {
        if (doc->url() == url) {
            setSelectedDocumentId(doc->id());
            return;
        }
    }

    EditorDocument *doc = nullptr;
    if (const auto cached = m_fileTextCache.constFind(url); cached != m_fileTextCache.cend()) {
        doc = new EditorDocument(url, cached->text, this);
        touchFileCache(url);
    } else {
        doc = new EditorDocument(url, this);
    }

    // A fresh untitled tab nobody typed into gives way to the file.
    qsizetype index = m_documents.size();
    EditorDocument *blank = selectedDocument();
    if (blank && blank->isUntitled() && blank->revision() == 0 && blank->isEmpty() && !blank->isLoading()) {
        index = m_documents.indexOf(blank);
        removeDocument(blank);
    }
    adopt(doc, index);
    emit documentsChanged();
    setSelectedDocumentId(doc->id());
    if (doc->isLoading()) {
        loadFileInBackground(doc);
    }
}

void AppModel::finishLoad(const QUuid &id, LoadResult result)
{
    if (QFutureWatcher<LoadResult> *watcher = m_fileLoadTasks.take(id)) {
        watcher->deleteLater();
    }
    EditorDocument *doc = document(id);
    if (!doc) {
        return; // closed while it was loading
    }
    if (result.ok) {
        doc->setEncoding(result.encoding);
        if (result.cost > fileCacheLimit) {
            doc->finishLoading(std::move(result.blocks)); // too large to cache
        } else {
            doc->finishLoading(result.text);
            // The cache stands in for UTF-8 files only: a code page is the
            // user's answer for this opening, not a property of the text.
            if (result.encoding == TextEncoding::utf8) {
                storeFileEntry(doc->url(), {result.text, result.cost});
            }
        }
        return;
    }
    if (result.notUtf8 && reloadInChosenEncoding(doc, *result.notUtf8)) {
        return;
    }
    doc = document(id); // the question may have let the user close it
    if (!doc) {
        return;
    }
    // No half-read document stays behind: the tab goes and the user is told.
    const QString name = doc->displayName(m_language);
    removeDocument(doc);
    emit documentsChanged();
    ensureOneDocument();
    setAlert(L10n::text("Unable to Open", m_language), L10n::format("Unable to read %@.", m_language, {name}));
}

void AppModel::removeDocument(EditorDocument *doc)
{
    const qsizetype index = m_documents.indexOf(doc);
    if (index < 0) {
        return;
    }
    m_documents.removeAt(index);
    if (QFutureWatcher<LoadResult> *watcher = m_fileLoadTasks.take(doc->id())) {
        // The read cannot be stopped midway; its result just goes nowhere.
        watcher->disconnect(this);
        watcher->deleteLater();
    }
    m_analysisCache.remove(doc->id());
    m_analysisCacheOrder.removeAll(doc->id());
    disconnect(doc, nullptr, this, nullptr);
    if (m_selectedDocumentId == doc->id()) {
        // The neighbour that slides into the closed tab's place, else the one before it.
        if (m_documents.isEmpty()) {
            setSelectedDocumentId(std::nullopt);
        } else {
            setSelectedDocumentId(m_documents.at(std::min(index, m_documents.size() - 1))->id());
        }
    }
    // Views may still be inside a signal of this document.
    doc->deleteLater();
}

void AppModel::closeDocument(EditorDocument *doc)
{
    if (!doc || !m_documents.contains(doc)) {
        return;
    }
    removeDocument(doc);
    emit documentsChanged();
    ensureOneDocument();
}

void AppModel::ensureOneDocument()
{
    if (m_documents.isEmpty()) {
        newDocument();
    }
}

void AppModel::documentTextChanged(EditorDocument *doc)
{
    // Per keystroke: a timer restart, nothing that touches the text. The
    // analysis on show described the text before this change; it goes at the
    // first keystroke, not when the next one is ready.
    if (m_selectedDocumentId != doc->id()) {
        return;
    }
    if (m_analysis) {
        setAnalysis(std::nullopt);
    }
    if (m_showInspector) {
        setAnalysisInProgress(true);
        m_analysisDelay.start();
    }
}

void AppModel::documentLoadingChanged(EditorDocument *doc, bool loading)
{
    // The analysis waited for the whole text; it need not wait for the typing delay.
    if (!loading && m_showInspector && m_selectedDocumentId == doc->id()) {
        refreshAnalysis();
    }
}

void AppModel::save(EditorDocument *doc)
{
    if (!doc) {
        return;
    }
    if (doc->isUntitled()) {
        saveAs(doc);
    } else {
        write(doc, doc->url());
    }
}

void AppModel::saveSelected()
{
    save(selectedDocument());
}

void AppModel::saveAs(EditorDocument *doc)
{
    if (!doc || !m_dialogs) {
        return;
    }
    QString name = QStringLiteral("program.nc");
    QUrl start;
    if (!doc->isUntitled()) {
        name = doc->url().fileName();
        start = QUrl::fromLocalFile(QFileInfo(doc->url().toLocalFile()).absolutePath());
    } else if (!m_folderUrls.isEmpty()) {
        start = m_folderUrls.first();
    }
    if (doc->isUntitled() && !doc->suggestedName().isEmpty()) {
        name = doc->suggestedName() + QStringLiteral(".nc");
    }
    const std::optional<QUrl> target = m_dialogs->chooseSaveLocation(name, start);
    if (target && target->isLocalFile()) {
        write(doc, standardized(*target));
    }
}

bool AppModel::write(EditorDocument *doc, const QUrl &url)
{
    if (!doc) {
        return false;
    }
    const QString error = doc->saveTo(url, m_language);
    if (!error.isEmpty()) {
        setAlert(L10n::text("Unable to Save", m_language), error);
        return false;
    }
    // The sidebar shows the new or changed file, and nothing read ahead
    // before the save can stand in for it.
    rebuildRoots();
    clearFileCache();
    startExplorerPrefetch();
    return true;
}

void AppModel::openBackup()
{
    if (!m_dialogs) {
        return;
    }
    const QList<QUrl> urls = m_dialogs->chooseFiles(L10n::text("Choose a backup (.bak) to open", m_language),
                                                    QUrl::fromLocalFile(m_backups.folder()));
    for (const QUrl &url : urls) {
        openFile(url);
    }
}

void AppModel::showBackupsFolder()
{
    if (m_dialogs) {
        m_dialogs->reveal(QUrl::fromLocalFile(m_backups.folder()));
    }
}

QStringList AppModel::autosave()
{
    return m_backups.autosave(m_documents);
}

// --- Folders -----------------------------------------------------------------

void AppModel::setFolderUrls(const QList<QUrl> &folders)
{
    if (folders == m_folderUrls) {
        return;
    }
    m_folderUrls = folders;
    emit folderUrlsChanged();
}

void AppModel::addFolders()
{
    if (!m_dialogs) {
        return;
    }
    QList<QUrl> folders = m_folderUrls;
    const QList<QUrl> chosen = m_dialogs->chooseFolders(L10n::text("Choose folders to show in Explorer", m_language));
    for (const QUrl &url : chosen) {
        if (url.isLocalFile() && !folders.contains(standardized(url))) {
            folders.append(standardized(url));
        }
    }
    if (chosen.isEmpty()) {
        return;
    }
    setFolderUrls(folders);
    saveFolders();
    rebuildRoots();
}

void AppModel::removeFolder(const QUrl &folder)
{
    QList<QUrl> folders = m_folderUrls;
    folders.removeAll(folder);
    setFolderUrls(folders);
    saveFolders();
    rebuildRoots();
}

void AppModel::loadFolders()
{
    QList<QUrl> folders;
    const QStringList paths = m_settings->value(kFoldersKey).toStringList();
    for (const QString &path : paths) {
        if (!path.isEmpty() && QFileInfo::exists(path)) {
            folders.append(QUrl::fromLocalFile(path));
        }
    }
    setFolderUrls(folders);
    rebuildRoots();
}

void AppModel::saveFolders()
{
    QStringList paths;
    for (const QUrl &url : std::as_const(m_folderUrls)) {
        paths.append(url.toLocalFile());
    }
    m_settings->setValue(kFoldersKey, paths);
    m_settings->sync();
}

void AppModel::rebuildRoots()
{
    m_fileTreeRoots.clear();
    for (const QUrl &url : std::as_const(m_folderUrls)) {
        m_fileTreeRoots.append(std::make_shared<FileNode>(url, true));
    }
    emit fileTreeRootsChanged();
}

// --- Machines, ports and sending ----------------------------------------------

void AppModel::setSelectedMachineId(std::optional<QString> id)
{
    if (id == m_selectedMachineId) {
        return;
    }
    m_selectedMachineId = std::move(id);
    emit selectedMachineChanged();
}

std::optional<Machine> AppModel::selectedMachine() const
{
    if (!m_selectedMachineId) {
        return std::nullopt;
    }
    for (const Machine &machine : m_machineStore->machines()) {
        if (machine.id == *m_selectedMachineId) {
            return machine;
        }
    }
    return std::nullopt;
}

void AppModel::setSelectedPortPath(std::optional<QString> path)
{
    if (path == m_selectedPortPath) {
        return;
    }
    m_selectedPortPath = std::move(path);
    emit selectedPortChanged();
}

void AppModel::refreshPorts()
{
    const QList<SerialPort> found = m_listPorts();
    // SerialPort compares by path only; a changed label is news to the views too.
    const bool same = found.size() == m_ports.size() &&
                      std::equal(found.cbegin(), found.cend(), m_ports.cbegin(), [](const SerialPort &a, const SerialPort &b) {
                          return a.path == b.path && a.label == b.label;
                      });
    if (!same) {
        m_ports = found;
        emit portsChanged();
    }
    // A network port does not come and go with the adapters.
    const bool stillThere =
        m_selectedPortPath && (NetworkAddress::isNetworkPort(*m_selectedPortPath) || std::any_of(m_ports.cbegin(), m_ports.cend(),
                                          [&](const SerialPort &port) { return port.path == *m_selectedPortPath; }));
    if (!stillThere) {
        setSelectedPortPath(m_ports.isEmpty() ? std::nullopt : std::optional<QString>(m_ports.first().path));
    }
}

QStringList AppModel::networkPorts() const
{
    return m_selectedMachineId ? NetworkPortHistory::addresses(m_settings->value(kNetworkPortsKey), *m_selectedMachineId)
                               : QStringList();
}

bool AppModel::choosePort(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (!NetworkAddress::isNetworkPort(trimmed)) {
        const auto listed = std::find_if(m_ports.cbegin(), m_ports.cend(), [&](const SerialPort &port) {
            return port.path == trimmed || TransferController::endpointName(port.path) == trimmed;
        });
        if (listed == m_ports.cend()) {
            setAlert(L10n::text("No Such Port", m_language),
                     L10n::format("\"%@\" is not a port in the list. Type a network port as tcp://HOST:PORT or "
                                  "rfc2217://HOST:PORT.",
                                  m_language, {trimmed}));
            return false;
        }
        setSelectedPortPath(listed->path);
        return true;
    }
    const std::optional<NetworkAddress> address = NetworkAddress::parse(trimmed);
    if (!address) {
        setAlert(L10n::text("Not a Network Address", m_language),
                 L10n::text("Type a network port as tcp://HOST:PORT or rfc2217://HOST:PORT, for example "
                            "rfc2217://192.168.1.20:4001.",
                            m_language));
        return false;
    }
    const QString normalised = address->toString();
    if (m_selectedMachineId) {
        m_settings->setValue(kNetworkPortsKey, NetworkPortHistory::remember(m_settings->value(kNetworkPortsKey),
                                                                            *m_selectedMachineId, normalised));
        m_settings->sync();
        emit portsChanged();
    }
    setSelectedPortPath(normalised);
    return true;
}

std::optional<Machine> AppModel::machineForLine()
{
    const std::optional<Machine> machine = selectedMachine();
    if (!machine) {
        setAlert(L10n::text("No Machine", m_language),
                 L10n::text("Add or select a machine in the panel below.", m_language));
        return std::nullopt;
    }
    if (!m_selectedPortPath) {
        setAlert(L10n::text("No Serial Port", m_language),
                 L10n::text("Connect a USB-to-serial adapter and click Refresh Ports.", m_language));
        return std::nullopt;
    }
    return machine;
}

void AppModel::send()
{
    const std::optional<Machine> machine = machineForLine();
    if (!machine) {
        return;
    }
    EditorDocument *doc = selectedDocument();
    if (!doc) {
        return;
    }
    if (m_transfer->state().isActive()) {
        return;
    }
    m_sent = {doc->id(), doc->text(), 0, 1};
    m_transfer->send(m_sent.text, doc->displayName(m_language), *machine, *m_selectedPortPath);
}

void AppModel::sendRestart(const ToolpathRestart &restart, const QString &preamble)
{
    const std::optional<Machine> machine = machineForLine();
    EditorDocument *doc = selectedDocument();
    if (!machine || !doc || m_transfer->state().isActive()) {
        return;
    }
    const QString program = doc->text();
    const QString text = restart.text(program, preamble);
    // Lines before the resumed one: the header's and the preamble's, as sent.
    const QStringView leading = QStringView(text).first(text.size() - (program.size() - restart.resumeOffset));
    const int leadingLines =
        int(leading.count(QLatin1Char('\n')) + leading.count(QLatin1Char('\r')) - leading.count(QStringLiteral("\r\n")));
    m_sent = {doc->id(), text, leadingLines, restart.line};
    m_transfer->send(text, doc->displayName(m_language), *machine, *m_selectedPortPath);
}

// --- Appearance, language, font, panels, alert ---------------------------------

void AppModel::setAppearance(AppearanceMode mode)
{
    if (mode == m_appearance) {
        return;
    }
    m_appearance = mode;
    m_settings->setValue(kAppearanceKey, AppearanceModes::rawValue(mode));
    m_settings->sync();
    emit appearanceChanged(mode);
    applyAppearance();
}

void AppModel::applyAppearance()
{
    // A capture has its appearance forced by the launcher; the user's own
    // setting must not undo that.
    if (qEnvironmentVariableIsSet("VARN_SHOT")) {
        return;
    }
    emit appearanceApplied(m_appearance);
}

void AppModel::setLanguage(AppLanguage language)
{
    if (language == m_language) {
        return;
    }
    m_language = language;
    m_settings->setValue(kLanguageKey, AppLanguages::rawValue(language));
    m_settings->sync();
    m_transfer->setLanguage(language);
    emit languageChanged(language);
    // Warnings are written in the language of the analysis that found them.
    m_analysisCache.clear();
    m_analysisCacheOrder.clear();
    refreshAnalysis();
}

void AppModel::setFontSize(double points)
{
    if (!std::isfinite(points)) {
        return;
    }
    const double clamped = std::clamp(points, minFontSize, maxFontSize);
    if (clamped != m_editorFontSize) {
        m_editorFontSize = clamped;
        emit editorFontSizeChanged(clamped);
    }
    m_settings->setValue(kFontSizeKey, clamped);
    m_settings->sync();
}

void AppModel::setShowLineNumbers(bool show)
{
    if (show != m_showLineNumbers) {
        m_showLineNumbers = show;
        emit showLineNumbersChanged(show);
    }
    m_settings->setValue(kLineNumbersKey, show);
    m_settings->sync();
}

void AppModel::setShowingMachines(bool showing)
{
    if (showing != m_showingMachines) {
        m_showingMachines = showing;
        emit showingMachinesChanged(showing);
    }
}

void AppModel::setShowInspector(bool show)
{
    if (show != m_showInspector) {
        m_showInspector = show;
        if (!show) {
            m_analysisDelay.stop();
        }
        emit showInspectorChanged(show);
    }
}

void AppModel::toggleInspector()
{
    setShowInspector(!m_showInspector);
    if (m_showInspector) {
        refreshAnalysis();
    }
}

void AppModel::setAlert(const QString &title, const QString &message)
{
    m_alert = AppAlert{QUuid::createUuid(), title, message};
    emit alertChanged();
}

void AppModel::clearAlert()
{
    if (m_alert) {
        m_alert.reset();
        emit alertChanged();
    }
}
