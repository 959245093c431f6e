#include "editorpane.h"

#include "unsavedchanges.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "resources/varnicons.h"

#include "workspace/appmodel.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// The empty state takes dropped files as the editor does.
class DropArea : public QWidget {
public:
    DropArea(AppModel &model, QWidget *parent) : QWidget(parent), m_model(model) { setAcceptDrops(true); }

protected:
    void dragEnterEvent(QDragEnterEvent *event) override
    {
        if (event->mimeData()->hasUrls()) {
            event->acceptProposedAction();
        }
    }
    void dropEvent(QDropEvent *event) override
    {
        for (const QUrl &url : event->mimeData()->urls()) {
            if (url.isLocalFile()) {
                m_model.openFile(url);
            }
        }
        event->acceptProposedAction();
    }

private:
    AppModel &m_model;
};

} // namespace

EditorPane::EditorPane(AppModel &model, EditorController &controller, QWidget *parent)
    : QWidget(parent),
      m_model(model),
      m_tabs(new QTabBar(this)),
      m_new(new QToolButton(this)),
      m_stack(new QStackedWidget(this)),
      m_editor(new GCodeEditor(this)),
      m_empty(new DropArea(model, this)),
      m_emptyTitle(new QLabel(m_empty)),
      m_emptyMessage(new QLabel(m_empty)),
      m_encodingStatus(new QLabel(this))
{
    m_tabs->setObjectName(QStringLiteral("documentTabs"));
    m_tabs->setDocumentMode(true);
    m_tabs->setExpanding(false);
    m_tabs->setElideMode(Qt::ElideMiddle);
    m_tabs->setUsesScrollButtons(true);
    m_tabs->setDrawBase(false);
    m_new->setObjectName(QStringLiteral("newProgram"));
    m_new->setIcon(VarnIcons::icon(QStringLiteral("plus")));
    m_new->setAutoRaise(true);

    auto *tabRow = new QHBoxLayout;
    tabRow->setContentsMargins(4, 2, 4, 0);
    tabRow->setSpacing(2);
    tabRow->addWidget(m_tabs);
    tabRow->addWidget(m_new);
    tabRow->addStretch(1);

    auto *icon = new QLabel(m_empty);
    icon->setPixmap(VarnIcons::bundled(QStringLiteral("doc-text"), QColor(0x8E, 0x8E, 0x93)).pixmap(56, 56));
    icon->setAlignment(Qt::AlignCenter);
    QFont titleFont = m_emptyTitle->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.4);
    titleFont.setBold(true);
    m_emptyTitle->setFont(titleFont);
    m_emptyTitle->setAlignment(Qt::AlignCenter);
    m_emptyMessage->setAlignment(Qt::AlignCenter);
    m_emptyMessage->setWordWrap(true);
    m_emptyMessage->setForegroundRole(QPalette::PlaceholderText);
    auto *emptyColumn = new QVBoxLayout(m_empty);
    emptyColumn->addStretch(1);
    emptyColumn->addWidget(icon);
    emptyColumn->addSpacing(8);
    emptyColumn->addWidget(m_emptyTitle);
    emptyColumn->addWidget(m_emptyMessage);
    emptyColumn->addStretch(1);

    m_stack->addWidget(m_editor);
    m_stack->addWidget(m_empty);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(tabRow);
    column->addWidget(m_stack, 1);
    m_encodingStatus->setObjectName(QStringLiteral("encodingStatus"));
    m_encodingStatus->setContentsMargins(8, 2, 8, 2);
    m_encodingStatus->setForegroundRole(QPalette::PlaceholderText);
    m_encodingStatus->hide();
    column->addWidget(m_encodingStatus);

    controller.setEditor(m_editor);
    m_editor->setFontSize(m_model.editorFontSize());
    m_editor->setLanguage(m_model.language());
    m_editor->setLineNumbersVisible(m_model.showLineNumbers());

    connect(m_new, &QToolButton::clicked, &m_model, [this] { m_model.newDocument(); });
    connect(m_tabs, &QTabBar::currentChanged, this, [this](int index) {
        if (m_syncing || index < 0) {
            return;
        }
        m_model.setSelectedDocumentId(QUuid::fromString(m_tabs->tabData(index).toString()));
    });
    connect(m_editor, &GCodeEditor::filesDropped, this, [this](const QList<QUrl> &urls) {
        for (const QUrl &url : urls) {
            m_model.openFile(url);
        }
    });
    connect(&m_model, &AppModel::documentsChanged, this, &EditorPane::syncTabs);
    connect(&m_model, &AppModel::selectedDocumentChanged, this, &EditorPane::syncSelection);
    connect(&m_model, &AppModel::editorFontSizeChanged, m_editor, &GCodeEditor::setFontSize);
    connect(&m_model, &AppModel::showLineNumbersChanged, m_editor, &GCodeEditor::setLineNumbersVisible);
    connect(&m_model, &AppModel::languageChanged, this, [this](AppLanguage language) {
        m_editor->setLanguage(language);
        retranslate();
    });
    retranslate();
    syncTabs();
}

bool EditorPane::isShowingEmptyState() const
{
    return m_stack->currentWidget() == m_empty;
}

QString EditorPane::tabText(const EditorDocument &document, bool dirty, AppLanguage language)
{
    QString text = document.displayName(language);
    if (dirty) {
        text += QStringLiteral(" \u2022");
    }
    if (document.isLoading()) {
        text += QStringLiteral(" \u2014 ") + L10n::text("Loading…", language);
    }
    return text;
}

int EditorPane::indexOf(const EditorDocument *document) const
{
    const QString id = document->id().toString();
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (m_tabs->tabData(i).toString() == id) {
            return i;
        }
    }
    return -1;
}

void EditorPane::syncTabs()
{
    m_syncing = true;
    while (m_tabs->count() > 0) {
        m_tabs->removeTab(m_tabs->count() - 1);
    }
    for (EditorDocument *document : m_model.documents()) {
        const int index = m_tabs->addTab(QString());
        m_tabs->setTabData(index, document->id().toString());
        auto *close = new QToolButton(m_tabs);
        close->setIcon(VarnIcons::bundled(QStringLiteral("close")));
        close->setIconSize(QSize(12, 12));
        close->setAutoRaise(true);
        close->setFixedSize(18, 18);
        close->setToolTip(L10n::text("Close Tab", m_model.language()));
        connect(close, &QToolButton::clicked, this, [this, id = document->id()] {
            if (EditorDocument *doc = m_model.document(id)) {
                requestClose(doc);
            }
        });
        m_tabs->setTabButton(index, QTabBar::RightSide, close);
        // One connection per document and pane; the document's deletion ends it.
        if (!m_watched.contains(document->id())) {
            m_watched.insert(document->id());
            const auto refresh = [this, document] { updateTab(document); };
            connect(document, &EditorDocument::loadingChanged, this, refresh);
            connect(document, &EditorDocument::urlChanged, this, refresh);
            connect(document, &EditorDocument::textChanged, this, refresh);
            connect(document, &EditorDocument::savedTextChanged, this, refresh);
            connect(document, &EditorDocument::encodingChanged, this, [this, document] {
                updateTab(document);
                updateEncodingStatus();
            });
        }
        updateTab(document);
    }
    m_syncing = false;
    syncSelection();
}

void EditorPane::syncSelection()
{
    EditorDocument *selected = m_model.selectedDocument();
    m_syncing = true;
    m_tabs->setCurrentIndex(selected ? indexOf(selected) : -1);
    m_syncing = false;
    // Never read-only while a file loads: the buffer would refuse the text when it arrives.
    m_editor->setDocument(selected);
    m_stack->setCurrentWidget(selected ? static_cast<QWidget *>(m_editor) : m_empty);
    m_tabs->setVisible(!m_model.documents().isEmpty());
    updateEncodingStatus();
}

void EditorPane::updateEncodingStatus()
{
    const EditorDocument *selected = m_model.selectedDocument();
    const bool legacy = selected && selected->encoding() != TextEncoding::utf8;
    if (legacy) {
        m_encodingStatus->setText(
            L10n::format("Encoding: %@", m_model.language(), {TextEncodings::name(selected->encoding())}));
    }
    m_encodingStatus->setVisible(legacy);
}

void EditorPane::updateTab(EditorDocument *document)
{
    const int index = indexOf(document);
    if (index < 0) {
        return;
    }
    const AppLanguage language = m_model.language();
    m_tabs->setTabText(index, tabText(*document, !document->isLoading() && document->isDirty(), language));
    QString tip = document->isUntitled() ? document->displayName(language) : document->url().toLocalFile();
    if (document->encoding() != TextEncoding::utf8) {
        tip += QLatin1Char('\n') + L10n::format("Encoding: %@", language, {TextEncodings::name(document->encoding())});
    }
    m_tabs->setTabToolTip(index, tip);
}

void EditorPane::retranslate()
{
    const AppLanguage language = m_model.language();
    m_new->setToolTip(L10n::text("New Program", language));
    m_new->setAccessibleName(m_new->toolTip());
    m_emptyTitle->setText(L10n::text("No Program Open", language));
    m_emptyMessage->setText(L10n::text("Create a new program, open one from Explorer, or drag it here.", language));
    for (EditorDocument *document : m_model.documents()) {
        updateTab(document);
    }
    updateEncodingStatus();
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (QWidget *close = m_tabs->tabButton(i, QTabBar::RightSide)) {
            close->setToolTip(L10n::text("Close Tab", language));
        }
    }
}

void EditorPane::requestClose(EditorDocument *document)
{
    if (document == m_editor->document()) {
        m_editor->flushEdits();
    }
    if (!document->isLoading() && document->isDirty()) {
        switch (m_question ? m_question(document) : askAboutUnsavedWork(document)) {
        case CloseAnswer::cancel:
            return;
        case CloseAnswer::save:
            m_model.save(document);
            if (document->isDirty()) {
                return; // the save panel was cancelled or the write failed
            }
            break;
        case CloseAnswer::dontSave:
            break;
        }
    }
    m_model.closeDocument(document);
}

EditorPane::CloseAnswer EditorPane::askAboutUnsavedWork(EditorDocument *document)
{
    const AppLanguage language = m_model.language();
    return askAboutUnsavedChanges(window(), L10n::text("VARN Edit", language), document->displayName(language),
                                  language);
}
