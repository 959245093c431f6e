#pragma once

#include "transfer/wireformat.h"

#include "machines/machine.h"
#include "toolpath/toolpathsummary.h"

#include <QFrame>
#include <QFutureWatcher>
#include <QHash>
#include <QTimer>
#include <QUuid>

#include <memory>
#include <vector>

class AppModel;
class EditorController;
class QButtonGroup;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QListWidget;
class QToolButton;
class ToolpathStore;
class ToolpathView;
struct TransferState;

// The Toolpath panel: the selected program's path with its legend, bounds,
// lengths, cutting time and the interpreter's warnings.
//
// The path is interpreted on the global thread pool after the same pause the
// analysis waits for after a keystroke, and only while the panel is shown.
// A result is applied only if its program is still the selected one, at the
// same revision and with the same milling/turning choice; otherwise it is
// dropped and the newest text runs. Typing never waits for the path.
//
// Milling or turning is chosen per program: a program with lathe cycles or
// lathe tool words starts in turning, the user may switch. The caret and the
// picture follow each other through the editor controller. During a transfer
// the part already sent is drawn in its own colour, and a marker shows the
// block being received, found from the byte count and the payload's line
// offsets (the payload keeps the program's lines one for one).
class ToolpathPanel : public QFrame {
    Q_OBJECT

public:
    ToolpathPanel(AppModel &model, EditorController &controller, QWidget *parent = nullptr);
    ~ToolpathPanel() override;

    ToolpathView *view() const { return m_view; }
    QListWidget *warningList() const { return m_warnings; }
    QString statusText() const;
    bool isInterpreting() const { return m_running; }
    // The warnings of the path on screen (none while nothing is shown).
    std::vector<ToolpathWarning> warnings() const { return m_summary ? m_summary->warnings : std::vector<ToolpathWarning>(); }


signals:
    // A result was applied to the view (tests, captures).
    void pathShown();
    void warningsChanged();

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Result {
        QUuid document;
        qint64 revision = 0;
        std::optional<bool> chosen; // the user's milling/turning choice it was made with
        bool lathe = false;
        ToolpathSummary summary;
        std::shared_ptr<const ToolpathStore> store;
        std::shared_ptr<const ToolpathStore> coarse;
    };

    void watchSelectedDocument();
    void interpret();
    void interpretationFinished();
    void showSummary();
    void retranslate();
    void fitHeader();
    void applyAppearance();
    void followTransfer(const TransferState &state);
    void showTransferLine();
    std::optional<bool> latheChoice() const; // the user's, if any

    AppModel &m_model;
    EditorController &m_controller;
    QLabel *m_title;
    QHBoxLayout *m_header;
    QHBoxLayout *m_viewRow; // the view buttons when the header is too narrow for them
    bool m_headerTwoRows = false;
    QButtonGroup *m_views;
    QCheckBox *m_turning;
    QToolButton *m_fit;
    ToolpathView *m_view;
    QLabel *m_status;
    QListWidget *m_warnings;

    QTimer m_delay;
    QFutureWatcher<Result> m_watcher;
    std::shared_ptr<std::atomic<bool>> m_cancel;
    bool m_running = false;
    QMetaObject::Connection m_textWatch;
    QMetaObject::Connection m_caretWatch;
    QUuid m_shownDocument;
    bool m_shownLathe = false;
    std::optional<ToolpathSummary> m_summary;
    QHash<QUuid, bool> m_latheByDocument; // the user's choice, else the program's look

    std::vector<WireBlock> m_payloadBlocks; // of the transfer being followed
    std::pair<qint64, qint64> m_transferBytes;  // sent, total
    bool m_findingLineStarts = false;
    quint64 m_transferGeneration = 0; // a transfer that ended drops the line starts found for it
};
