#pragma once

#include "machines/machinestore.h"
#include "nc/programanalysis.h"
#include "transfer/programcomparison.h"
#include "transfer/receivecontroller.h"
#include "transfer/transfercontroller.h"
#include "toolpath/toolpathrestart.h"
#include "transport/serialport.h"
#include "workspace/appalert.h"
#include "base/appearancemode.h"
#include "base/encodingguess.h"
#include "workspace/backupstore.h"
#include "workspace/editordocument.h"
#include "workspace/filenode.h"
#include "base/l10n.h"

#include <QFuture>
#include <QFutureWatcher>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QUrl>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

class Dialogs;
class EditorNavigator;
class QSettings;

// The one owner of the program's state and the handler of every command that
// is not purely visual: open documents and the selection, the sidebar folders,
// machines and ports, the transfer, the analysis of the selected program,
// appearance, language and font size. Views read its fields, listen to its
// signals and call its operations; they keep no state of their own.
//
// It asks the user things only through `Dialogs` and reports every failure
// the user should see by setting `alert`; nothing it does throws or crashes on
// bad input. In particular, every number a user types into a tool prompt is
// checked before it reaches a tool, so no answer can hit the tools' fatal
// overflow paths.
//
// Main thread only. File loads, the read-ahead of sidebar files and the
// analysis run on the global thread pool; their results come back here and are
// applied only if still wanted (not cancelled, same read-ahead generation,
// same document revision). A text change costs the model a timer restart at
// most: it never copies or compares a program per keystroke.
class AppModel : public QObject {
    Q_OBJECT

public:
    // A sidebar file's text read ahead, and its size in UTF-8 bytes.
    struct FileTextCacheEntry {
        QString text;
        qint64 cost = 0;
    };
    // An analysis and the revision of the document it was made from.
    struct CachedAnalysis {
        qint64 revision = 0;
        ProgramAnalysis value;
    };
    // The program-wide tools that take no parameter.
    enum class Tool { renumber, addLineNumbers, removeLineNumbers, formatSpacing, removeCoolant };

    // Where the model keeps things and how it reaches devices; empty members
    // mean the program's real ones. Tests point them at temporary places.
    struct Options {
        QString settingsFile;     // empty: ~/.config/VarnEdit/VarnEdit.conf
        QString machineStoreFile; // empty: MachineStore::defaultFilePath()
        QString backupFolder;     // empty: BackupStore::defaultFolder()
        BackupStore::Clock clock;
        std::function<QList<SerialPort>()> listPorts; // empty: SerialPortScanner::available()
        TransferController::TransportFactory transportFactory;
        Dialogs *dialogs = nullptr;
    };

    static constexpr qint64 fileCacheLimit = 64 * 1024 * 1024;
    static constexpr qint64 prefetchFileLimit = 8 * 1024 * 1024;
    static constexpr int prefetchWalkLimit = 9999;
    static constexpr int analysisCacheLimit = 4;
    static constexpr int autosaveIntervalMs = 120 * 1000;
    // Edits to the selected program re-analyse it this long after the last
    // keystroke, and only while the analysis panel is shown.
    static constexpr int analysisDelayMs = 400;
    static constexpr double minFontSize = 9;
    static constexpr double maxFontSize = 28;

    explicit AppModel(QObject *parent = nullptr);
    explicit AppModel(Options options, QObject *parent = nullptr);
    ~AppModel() override;

    // The start-up sequence, run once when the main window first appears.
    void bootstrap();

    Dialogs *dialogs() const { return m_dialogs; }
    void setDialogs(Dialogs *dialogs) { m_dialogs = dialogs; }
    // The editor on screen; null while there is none (navigation then does nothing).
    EditorNavigator *editor() const { return m_editor; }
    void setEditor(EditorNavigator *editor) { m_editor = editor; }

    // --- Documents -------------------------------------------------------
    const QList<EditorDocument *> &documents() const { return m_documents; }
    std::optional<QUuid> selectedDocumentId() const { return m_selectedDocumentId; }
    EditorDocument *selectedDocument() const;
    EditorDocument *document(const QUuid &id) const;
    void setSelectedDocumentId(std::optional<QUuid> id);

    EditorDocument *newDocument();
    void openDocument();
    // Opens a program file, or selects it when it is open already. Opening
    // while the selected document is a new untitled one that was never edited
    // puts the file in its place instead of leaving an empty tab behind.
    void openFile(const QUrl &url);
    // Closes without asking; asking about unsaved work is the window's part.
    // There is always at least one document afterwards.
    void closeDocument(EditorDocument *document);
    // Writes to the document's file, or asks where when it has none.
    void save(EditorDocument *document);
    void saveSelected();
    void saveAs(EditorDocument *document);
    // Writes the text to `url` atomically. False (and an "Unable to Save"
    // alert) when that failed; the document then keeps its file and stays dirty.
    bool write(EditorDocument *document, const QUrl &url);

    void openBackup();
    void showBackupsFolder();
    QString backupsFolder() { return m_backups.folder(); }
    // Backs up every dirty, non-empty document (the 120-second timer's work).
    QStringList autosave();
    bool isAutosaveTimerActive() const { return m_autosaveTimer.isActive(); }

    // --- Folders ---------------------------------------------------------
    const QList<QUrl> &folderUrls() const { return m_folderUrls; }
    const QList<FileNodePtr> &fileTreeRoots() const { return m_fileTreeRoots; }
    void addFolders();
    void removeFolder(const QUrl &folder);
    void loadFolders();
    void saveFolders();
    void rebuildRoots();

    // --- Machines, ports and sending --------------------------------------
    MachineStore &machineStore() { return *m_machineStore; }
    std::optional<QString> selectedMachineId() const { return m_selectedMachineId; }
    void setSelectedMachineId(std::optional<QString> id);
    std::optional<Machine> selectedMachine() const;
    const QList<SerialPort> &ports() const { return m_ports; }
    std::optional<QString> selectedPortPath() const { return m_selectedPortPath; }
    void setSelectedPortPath(std::optional<QString> path);
    void refreshPorts();
    // Network ports typed for the selected machine, most recent first.
    QStringList networkPorts() const;
    // A port the user typed: a network address is checked, remembered for the
    // selected machine and selected; anything else must be a listed device.
    // False (with an alert) when the text names no port.
    bool choosePort(const QString &text);
    void send();
    // Sends the selected program from `restart.line` on: its header, `preamble`
    // (as the user left it) and the rest. An alert says what is missing to start.
    void sendRestart(const ToolpathRestart &restart, const QString &preamble);
    // What the running or last transfer sent, for following it line by line:
    // the program's document, the text, and how its lines map onto the
    // document's (the first `leadingLines` are the restart's own; the line
    // after them is the document's `firstLine`).
    struct SentProgram {
        QUuid documentId;
        QString text;
        int leadingLines = 0;
        int firstLine = 1;
        int documentLine(int sentLine) const { return std::max(sentLine - leadingLines, 1) + firstLine - 1; }
    };
    const SentProgram &sentProgram() const { return m_sent; }
    TransferController &transfer() { return *m_transfer; }

    // --- Receiving (appmodelreceive.cpp) -------------------------------------
    enum class ReceiveMode { open, compare };
    // Asks the window to show the receive window in `mode`.
    void showReceive(ReceiveMode mode);
    // Starts receiving from the selected machine and port. In open mode a
    // program becomes a new document (or, with `autoReceiveFolder`, each one a
    // file there, and the listening goes on); in compare mode it is compared
    // with the selected document. An alert says what is missing to start. A
    // zero idle time-out takes the machine profile's.
    void startReceive(ReceiveMode mode, const QString &autoReceiveFolder = {},
                      std::chrono::milliseconds idleTimeout = std::chrono::milliseconds::zero());
    ReceiveController &receiver();
    ReceiveMode receiveMode() const { return m_receiveMode; }
    // The last comparison: the differing blocks, and whether one was made.
    const QList<ProgramDifference> &comparison() const { return m_comparison; }
    bool hasComparison() const { return m_hasComparison; }
    // Where the raw bytes of the last received program were kept (a `.raw` file).
    const QString &lastRawPath() const { return m_lastRawPath; }

    // --- Appearance, language, font, panels, alert ------------------------
    AppearanceMode appearance() const { return m_appearance; }
    void setAppearance(AppearanceMode mode);
    // Asks the window to make `appearance` so; never while a capture is staged
    // (VARN_SHOT), whose appearance the launcher has forced.
    void applyAppearance();
    AppLanguage language() const { return m_language; }
    void setLanguage(AppLanguage language);
    double editorFontSize() const { return m_editorFontSize; }
    void setFontSize(double points);

    bool showingMachines() const { return m_showingMachines; }
    void setShowingMachines(bool showing);
    bool showInspector() const { return m_showInspector; }
    // The editor's line-number gutter; off unless the user turned it on.
    bool showLineNumbers() const { return m_showLineNumbers; }
    void setShowLineNumbers(bool show);
    void setShowInspector(bool show);
    void toggleInspector();

    const std::optional<AppAlert> &alert() const { return m_alert; }
    void setAlert(const QString &title, const QString &message);
    // The window calls this when the user dismisses the alert.
    void clearAlert();

    // --- Tools on the selected document -------------------------------------
    // Replaces the selected document's text with `transform` of it.
    void apply(const std::function<QString(const QString &)> &transform);
    void applyTool(Tool tool);
    void goToPrompt();
    void removeMCodesPrompt();
    void reduceFeedPrompt();
    void adjustSpindlePrompt();
    void showAxisRanges();

    // --- Analysis ---------------------------------------------------------
    // `analysis` is only ever the analysis of the selected document's text as
    // it is now: it is cleared the moment that text changes, another document
    // is selected or a load is still filling the document in, so no panel can
    // show the figures of other text. `analysisInProgress` is set while a
    // result for the current text is on its way (a load to wait for, the
    // delay after typing, or the analysis itself).
    const std::optional<ProgramAnalysis> &analysis() const { return m_analysis; }
    bool analysisInProgress() const { return m_analysisInProgress; }
    void refreshAnalysis();
    std::optional<CachedAnalysis> cachedAnalysis(const QUuid &id) const;
    // Least recently used first.
    const QList<QUuid> &analysisCacheOrder() const { return m_analysisCacheOrder; }
    void storeAnalysis(const QUuid &id, const CachedAnalysis &entry);
    // The running (or last) analysis task.
    QFuture<ProgramAnalysis> analysisTask() const { return m_analysisTask; }

    // --- File text cache and read-ahead ------------------------------------
    std::optional<QString> cachedFileText(const QUrl &url) const;
    const QList<QUrl> &fileCacheOrder() const { return m_fileCacheOrder; }
    qint64 fileCacheCost() const { return m_fileCacheCost; }
    void storeFileEntry(const QUrl &url, const FileTextCacheEntry &entry);
    void clearFileCache();
    void startExplorerPrefetch();
    qint64 prefetchGeneration() const { return m_prefetchGeneration; }
    // Until the last result read ahead has reached the cache.
    bool isPrefetching() const { return m_prefetchWatcher && !m_prefetchWatcher->isFinished(); }
    bool isLoadingAnyFile() const { return !m_fileLoadTasks.isEmpty(); }

signals:
    void documentsChanged();
    void selectedDocumentChanged();
    void folderUrlsChanged();
    void fileTreeRootsChanged();
    void selectedMachineChanged();
    void portsChanged();
    void selectedPortChanged();
    void appearanceChanged(AppearanceMode mode);
    // The window makes the application look like `mode` (system: no forcing).
    void appearanceApplied(AppearanceMode mode);
    void languageChanged(AppLanguage language);
    void editorFontSizeChanged(double points);
    void showingMachinesChanged(bool showing);
    void showInspectorChanged(bool show);
    void showLineNumbersChanged(bool show);
    void alertChanged();
    void analysisChanged();
    void analysisInProgressChanged(bool inProgress);
    void prefetchFinished();
    void receiveRequested(AppModel::ReceiveMode mode);
    void comparisonChanged();

private:
    // The selected machine when a machine and a port are chosen; otherwise an
    // alert says which is missing and the result is empty.
    std::optional<Machine> machineForLine();
    // What a background read hands back to the main thread.
    // A file read in the background: as text when it may go to the file text
    // cache, otherwise as UTF-8 blocks the document keeps as they are.
    struct LoadResult {
        bool ok = false;
        QString text;
        QList<QByteArray> blocks;
        qint64 cost = 0;
        TextEncoding encoding = TextEncoding::utf8;
        // Read as UTF-8 and found not to be: its lines with non-ASCII bytes.
        std::optional<EncodingSample> notUtf8;
    };
    struct PrefetchItem {
        qint64 generation = 0;
        QUrl url;
        QString text;
        qint64 cost = 0;
    };

    void receivedProgram(const std::shared_ptr<const ReceivedProgram> &program, const QString &savedPath);
    void adopt(EditorDocument *document, qsizetype index);
    void removeDocument(EditorDocument *document);
    void loadFileInBackground(EditorDocument *document, TextEncoding encoding = TextEncoding::utf8);
    void finishLoad(const QUuid &id, LoadResult result);
    // Asks which code page to read a file in that is not UTF-8 and reads it
    // again in the one chosen; false when the user declined or cannot be asked.
    bool reloadInChosenEncoding(EditorDocument *document, const EncodingSample &sample);
    void documentTextChanged(EditorDocument *document);
    void documentLoadingChanged(EditorDocument *document, bool loading);
    void ensureOneDocument();

    void touchFileCache(const QUrl &url);
    void touchAnalysisCache(const QUuid &id);
    void analysisFinished();
    void prefetchResultReady(int index);
    void setAnalysis(std::optional<ProgramAnalysis> analysis);
    void setAnalysisInProgress(bool inProgress);
    void setFolderUrls(const QList<QUrl> &folders);

    std::optional<QString> askPrompt(const QString &title, const QString &message, const QString &defaultText);

    Dialogs *m_dialogs = nullptr;
    EditorNavigator *m_editor = nullptr;
    std::unique_ptr<QSettings> m_settings;
    std::function<QList<SerialPort>()> m_listPorts;
    BackupStore m_backups;

    QList<EditorDocument *> m_documents;
    std::optional<QUuid> m_selectedDocumentId;
    QList<QUrl> m_folderUrls;
    QList<FileNodePtr> m_fileTreeRoots;
    MachineStore *m_machineStore = nullptr;
    std::optional<QString> m_selectedMachineId;
    QList<SerialPort> m_ports;
    std::optional<QString> m_selectedPortPath;
    TransferController *m_transfer = nullptr;
    TransferController::TransportFactory m_transportFactory;
    SentProgram m_sent;
    ReceiveController *m_receiver = nullptr;
    ReceiveMode m_receiveMode = ReceiveMode::open;
    QUuid m_compareDocumentId;
    QList<ProgramDifference> m_comparison;
    bool m_hasComparison = false;
    QString m_lastRawPath;
    AppearanceMode m_appearance = AppearanceMode::system;
    AppLanguage m_language = AppLanguage::english;
    std::optional<AppAlert> m_alert;
    bool m_showingMachines = false;
    bool m_showInspector = false;
    bool m_showLineNumbers = false;
    double m_editorFontSize = 13.0;

    std::optional<ProgramAnalysis> m_analysis;
    QHash<QUuid, CachedAnalysis> m_analysisCache;
    QList<QUuid> m_analysisCacheOrder;
    QFuture<ProgramAnalysis> m_analysisTask;
    QFutureWatcher<ProgramAnalysis> m_analysisWatcher;
    QUuid m_analysisDocumentId;
    qint64 m_analysisRevision = 0;
    bool m_analysisInProgress = false;
    QTimer m_analysisDelay;

    QTimer m_autosaveTimer;

    QHash<QUrl, FileTextCacheEntry> m_fileTextCache;
    QList<QUrl> m_fileCacheOrder;
    qint64 m_fileCacheCost = 0;
    QHash<QUuid, QFutureWatcher<LoadResult> *> m_fileLoadTasks;
    QFuture<PrefetchItem> m_prefetchTask;
    std::unique_ptr<QFutureWatcher<PrefetchItem>> m_prefetchWatcher;
    qint64 m_prefetchGeneration = 0;
};
