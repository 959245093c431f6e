#include "toolpathpanel.h"

#include "toolpathview.h"

#include "toolpath/render/toolpathcoarse.h"
#include "toolpath/render/toolpathpreview.h"

#include "editor/editorcontroller.h"
#include "editor/gcodeeditor.h"
#include "theme/varnpalette.h"
#include "window/translatedaction.h"

#include "toolpath/toolpathinterpreter.h"
#include "toolpath/toolpathstore.h"
#include "toolpath/toolpathturning.h"
#include "workspace/appmodel.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPalette>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtConcurrent>

#include <algorithm>
#include <cmath>

namespace {

struct ViewChoice {
    const char *key;
    ToolpathCamera::View view;
};
constexpr ViewChoice viewChoices[] = {{VARN_TR_KEY("Top"), ToolpathCamera::View::top},
                                      {VARN_TR_KEY("Front"), ToolpathCamera::View::front},
                                      {VARN_TR_KEY("Side"), ToolpathCamera::View::side},
                                      {VARN_TR_KEY("Iso"), ToolpathCamera::View::iso}};

// The coarse level is sized for a picture of the whole path about this wide,
// and kept small enough to draw a frame while turning in well under 33 ms.
constexpr double coarsePixels = 1200;
constexpr std::size_t coarseVertices = 30000;

// A long program shows what is interpreted so far after this long, then every so often.
constexpr qint64 previewAfterMs = 350;
constexpr qint64 previewEveryMs = 500;

bool darkPalette()
{
    return QApplication::palette().color(QPalette::Window).lightness() < 128;
}

QString duration(double seconds)
{
    const long long total = std::llround(std::max(seconds, 0.0));
    return QStringLiteral("%1:%2:%3")
        .arg(total / 3600)
        .arg(total / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(total % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

ToolpathPanel::ToolpathPanel(AppModel &model, EditorController &controller, QWidget *parent)
    : QFrame(parent), m_model(model), m_controller(controller)
{
    setObjectName(QStringLiteral("toolpathPanel"));
    setMinimumWidth(300);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    // The header is one row when it fits; in a narrow panel the view buttons
    // take a second row, so no label is ever cut (see fitHeader).
    auto *header = new QHBoxLayout;
    header->setContentsMargins(8, 4, 8, 4);
    m_title = new QLabel(this);
    // Bold through the font: a style sheet would pin the label to the palette of the moment,
    // and a later change of appearance would leave it dark on dark.
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    header->addWidget(m_title);
    header->addStretch(1);
    m_views = new QButtonGroup(this);
    for (int i = 0; i < int(std::size(viewChoices)); ++i) {
        auto *button = new QToolButton(this);
        button->setCheckable(true);
        button->setAutoRaise(true);
        m_views->addButton(button, i);
        header->addWidget(button);
    }
    m_views->button(0)->setChecked(true);
    m_turning = new QCheckBox(this);
    header->addWidget(m_turning);
    m_fit = new QToolButton(this);
    m_fit->setAutoRaise(true);
    header->addWidget(m_fit);
    m_header = header;
    column->addLayout(header);
    m_viewRow = new QHBoxLayout;
    m_viewRow->setContentsMargins(8, 0, 8, 0);
    m_viewRow->addStretch(1);
    column->addLayout(m_viewRow);

    m_view = new ToolpathView(this);
    column->addWidget(m_view, 1);
    m_status = new QLabel(this);
    m_status->setContentsMargins(8, 4, 8, 4);
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::RichText);
    column->addWidget(m_status);
    m_warnings = new QListWidget(this);
    m_warnings->setMaximumHeight(96);
    m_warnings->setFrameShape(QFrame::NoFrame);
    // A warning wraps rather than hide its end behind a sideways scroll in a narrow panel.
    m_warnings->setWordWrap(true);
    m_warnings->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_warnings->hide();
    column->addWidget(m_warnings);

    m_delay.setSingleShot(true);
    connect(&m_delay, &QTimer::timeout, this, &ToolpathPanel::interpret);
    connect(&m_watcher, &QFutureWatcher<Result>::finished, this, &ToolpathPanel::interpretationFinished);
    connect(m_views, &QButtonGroup::idClicked, this,
            [this](int id) { m_view->setView(viewChoices[id].view); });
    connect(m_turning, &QCheckBox::clicked, this, [this](bool turning) {
        if (const EditorDocument *doc = m_model.selectedDocument())
            m_latheByDocument.insert(doc->id(), turning);
        interpret();
    });
    connect(m_fit, &QToolButton::clicked, m_view, &ToolpathView::fit);
    connect(m_view, &ToolpathView::lineClicked, this, [this](int line) { m_controller.goToLine(line); });
    connect(m_warnings, &QListWidget::itemClicked, this,
            [this](QListWidgetItem *item) { m_controller.goToLine(item->data(Qt::UserRole).toInt()); });
    connect(&m_model, &AppModel::selectedDocumentChanged, this, &ToolpathPanel::watchSelectedDocument);
    connect(&m_model, &AppModel::languageChanged, this, &ToolpathPanel::retranslate);
    connect(&m_model, &AppModel::appearanceApplied, this, [this] { applyAppearance(); });
    connect(&m_model.transfer(), &TransferController::stateChanged, this, &ToolpathPanel::followTransfer);
    retranslate();
    applyAppearance();
    watchSelectedDocument();
}

ToolpathPanel::~ToolpathPanel()
{
    if (m_cancel)
        *m_cancel = true;
    m_watcher.waitForFinished();
}

void ToolpathPanel::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    fitHeader();
}

void ToolpathPanel::fitHeader()
{
    const QList<QAbstractButton *> buttons = m_views->buttons();
    const int spacing = std::max(0, m_header->spacing());
    const QMargins margins = m_header->contentsMargins();
    int needed = margins.left() + margins.right() + m_title->sizeHint().width() + m_turning->sizeHint().width() +
                 m_fit->sizeHint().width() + 16 + spacing * int(3 + buttons.size());
    for (QAbstractButton *button : buttons)
        needed += button->sizeHint().width();
    const bool twoRows = needed > width();
    if (twoRows == m_headerTwoRows)
        return;
    m_headerTwoRows = twoRows;
    for (int i = 0; i < int(buttons.size()); ++i) {
        // One row: after the title and its stretch. Two rows: a row of their own, left-aligned.
        if (twoRows)
            m_viewRow->insertWidget(i, buttons[i]);
        else
            m_header->insertWidget(2 + i, buttons[i]);
    }
}

void ToolpathPanel::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    applyAppearance();
    watchSelectedDocument();
}

std::optional<bool> ToolpathPanel::latheChoice() const
{
    const EditorDocument *doc = m_model.selectedDocument();
    if (!doc)
        return std::nullopt;
    const auto chosen = m_latheByDocument.constFind(doc->id());
    return chosen != m_latheByDocument.cend() ? std::optional<bool>(*chosen) : std::nullopt;
}

void ToolpathPanel::watchSelectedDocument()
{
    disconnect(m_textWatch);
    if (!m_caretWatch && m_controller.editor()) {
        GCodeEditor *editor = m_controller.editor();
        m_caretWatch = connect(editor, &QsciScintilla::cursorPositionChanged, m_view, [this, editor](int line, int) {
            // Going to a line selects it whole, leaving the caret at the start of the next one.
            if (editor->hasSelectedText()) {
                int toLine = 0, fromIndex = 0, toIndex = 0;
                editor->getSelection(&line, &fromIndex, &toLine, &toIndex);
            }
            m_view->setCaretLine(line + 1);
        });
    }
    EditorDocument *doc = m_model.selectedDocument();
    if (!doc) {
        m_summary.reset();
        m_shownDocument = QUuid();
        m_view->setStore(nullptr, nullptr, false);
        showSummary();
        return;
    }
    m_textWatch = connect(doc, &EditorDocument::textChanged, this, [this] {
        if (isVisible())
            m_delay.start(AppModel::analysisDelayMs);
    });
    if (doc->id() != m_shownDocument && m_summary) {
        // Another program's path is never shown under this one's name.
        m_summary.reset();
        m_shownDocument = QUuid();
        m_view->setStore(nullptr, nullptr, false);
        showSummary();
    }
    if (isVisible() && (doc->id() != m_shownDocument || !m_summary))
        m_delay.start(0);
}

void ToolpathPanel::interpret()
{
    m_delay.stop();
    EditorDocument *doc = m_model.selectedDocument();
    if (!doc || !isVisible())
        return;
    if (m_cancel)
        *m_cancel = true;
    if (m_running) {
        // The run under way stops at its next check; its end starts this one.
        return;
    }
    // Without the user's choice the program's look decides, on the worker: on a long
    // program the guess takes longer than the main thread may stop.
    const std::optional<bool> chosen = latheChoice();
    if (chosen)
        m_turning->setChecked(*chosen);
    m_cancel = std::make_shared<std::atomic<bool>>(false);
    m_running = true;
    showSummary();
    // With nothing on screen yet, a long program shows its beginning while the rest is read.
    std::optional<ToolpathCamera> preview;
    if (!m_view->showsPath() && m_view->isVisible()) {
        preview.emplace();
        preview->setView(viewChoices[std::max(0, m_views->checkedId())].view);
        preview->setViewport(m_view->size());
    }
    auto deliver = [this, token = m_cancel](QImage image) {
        QMetaObject::invokeMethod(
            this,
            [this, token, image] {
                if (token == m_cancel && !*token && !m_view->showsPath())
                    m_view->setPreview(image);
            },
            Qt::QueuedConnection);
    };
    m_watcher.setFuture(QtConcurrent::run([text = doc->text(), id = doc->id(), revision = doc->revision(), chosen,
                                           language = m_model.language(), cancel = m_cancel, preview,
                                           style = ToolpathStyle::forAppearance(darkPalette()), deliver]() mutable {
        const bool lathe = chosen ? *chosen : ToolpathTurning::looksLikeTurning(text);
        Result result{id, revision, chosen, lathe, {}, {}, {}};
        if (preview && lathe)
            preview->setView(ToolpathCamera::View::turning);
        auto store = std::make_shared<ToolpathStore>();
        ToolpathOptions options;
        options.lathe = lathe;
        std::optional<ToolpathPreview> drawer;
        if (preview)
            drawer.emplace(*preview, style, deliver, previewAfterMs, previewEveryMs);
        result.summary = ToolpathInterpreter::interpret(text, options, language, store.get(), [&] {
            if (drawer && !cancel->load())
                drawer->check(*store);
            return cancel->load();
        });
        if (!result.summary.cancelled && !cancel->load()) {
            result.coarse = std::make_shared<const ToolpathStore>(
                ToolpathCoarse::build(*store, ToolpathCoarse::toleranceFor(*store, coarsePixels, coarseVertices)));
            result.store = std::move(store);
        }
        return result;
    }));
}

void ToolpathPanel::interpretationFinished()
{
    m_running = false;
    const Result result = m_watcher.result();
    const EditorDocument *doc = m_model.selectedDocument();
    const bool current = doc && result.store && doc->id() == result.document && doc->revision() == result.revision &&
                         result.chosen == latheChoice();
    if (!current) {
        if (doc && isVisible() && !m_delay.isActive())
            interpret();
        return;
    }
    m_turning->setChecked(result.lathe);
    const bool fit = result.document != m_shownDocument || result.lathe != m_shownLathe;
    m_shownDocument = result.document;
    m_shownLathe = result.lathe;
    m_summary = result.summary;
    if (fit) {
        const bool turning = result.lathe;
        m_view->setView(turning ? ToolpathCamera::View::turning : viewChoices[std::max(0, m_views->checkedId())].view);
        for (QAbstractButton *button : m_views->buttons())
            button->setEnabled(!turning);
    }
    m_view->setStore(result.store, result.coarse, fit);
    showSummary();
    emit pathShown();
}

QString ToolpathPanel::statusText() const
{
    return m_status->text();
}

void ToolpathPanel::showSummary()
{
    const AppLanguage language = m_model.language();
    m_warnings->clear();
    m_warnings->hide();
    if (!m_summary) {
        m_status->setText(m_running ? L10n::text("Drawing the path…", language) : QString());
        emit warningsChanged();
        return;
    }
    const ToolpathSummary &s = *m_summary;
    const ToolpathStyle style = ToolpathStyle::forAppearance(darkPalette());
    auto swatch = [](const QColor &colour, const QString &label) {
        return QStringLiteral("<span style=\"color:%1\">&#9632;</span>&nbsp;%2").arg(colour.name(), label.toHtmlEscaped());
    };
    QString text = swatch(style.rapid, L10n::text("Rapid", language)) + QStringLiteral(" &nbsp; ") +
                   swatch(style.feed, L10n::text("Feed", language)) + QStringLiteral(" &nbsp; ") +
                   swatch(style.hole, L10n::text("Hole", language)) + QStringLiteral(" &nbsp; ") +
                   swatch(style.sent, L10n::text("Sent", language)) + QStringLiteral("<br>");
    const double unit = s.inches ? 25.4 : 1.0;
    const char *unitName = s.inches ? "in" : "mm";
    auto number = [&](double mm) { return L10n::number(mm / unit, s.inches ? "%.4f" : "%.3f", language); };
    std::optional<ToolpathSummary::Bounds> bounds = s.feedBounds ? s.feedBounds : s.rapidBounds;
    if (s.feedBounds && s.rapidBounds) {
        for (int axis = 0; axis < 3; ++axis) {
            bounds->min[axis] = std::min(s.feedBounds->min[axis], s.rapidBounds->min[axis]);
            bounds->max[axis] = std::max(s.feedBounds->max[axis], s.rapidBounds->max[axis]);
        }
    }
    if (!bounds) {
        text += L10n::text("Nothing moves in this program.", language);
    } else {
        text += L10n::format("X %@ to %@ · Y %@ to %@ · Z %@ to %@ %@", language,
                             {number(bounds->min[0]), number(bounds->max[0]), number(bounds->min[1]),
                              number(bounds->max[1]), number(bounds->min[2]), number(bounds->max[2]),
                              QString::fromLatin1(unitName)}) +
                QStringLiteral("<br>") +
                L10n::format("Feed %@ · Rapid %@ %@ · Cutting time %@", language,
                             {number(s.feedLength), number(s.rapidLength), QString::fromLatin1(unitName),
                              duration(s.feedSeconds)});
    }
    m_status->setText(text);
    for (const ToolpathWarning &warning : s.warnings) {
        auto *item = new QListWidgetItem(
            L10n::format("Line %@ · %@", language, {QString::number(warning.line), warning.message}), m_warnings);
        item->setData(Qt::UserRole, warning.line);
    }
    m_warnings->setVisible(!s.warnings.empty());
    emit warningsChanged();
}

void ToolpathPanel::retranslate()
{
    const AppLanguage language = m_model.language();
    m_title->setText(L10n::text("Toolpath", language));
    for (int i = 0; i < int(std::size(viewChoices)); ++i)
        m_views->button(i)->setText(L10n::text(viewChoices[i].key, language));
    m_turning->setText(L10n::text("Turning", language));
    m_fit->setText(L10n::text("Fit", language));
    m_fit->setToolTip(L10n::text("Show the whole path (double-click)", language));
    fitHeader();
    showSummary();
}

void ToolpathPanel::applyAppearance()
{
    m_view->setStyle(ToolpathStyle::forAppearance(darkPalette()));
    showSummary();
}

void ToolpathPanel::followTransfer(const TransferState &state)
{
    if (!state.isActive()) {
        ++m_transferGeneration;
        m_payloadBlocks.clear();
        m_view->setTransferLine(0);
        return;
    }
    const AppModel::SentProgram &sent = m_model.sentProgram();
    if (sent.documentId != m_shownDocument)
        return;
    m_transferBytes = {state.bytesSent, state.totalBytes};
    if (m_payloadBlocks.empty()) {
        // Found on a worker: a long program's payload takes longer than a frame to build.
        // The sent text is the program, or its restart.
        const std::optional<Machine> machine = m_model.selectedMachine();
        if (m_findingLineStarts || !machine)
            return;
        m_findingLineStarts = true;
        // The payload as the controller builds it, wire format included: the
        // leader, stripped lines and tape code move the blocks.
        auto found = QtConcurrent::run([text = sent.text, machine = *machine] {
            std::vector<WireBlock> blocks;
            WireFormat::build(text, machine, &blocks);
            return blocks;
        });
        found.then(this, [this, generation = m_transferGeneration](std::vector<WireBlock> blocks) {
            m_findingLineStarts = false;
            if (generation != m_transferGeneration)
                return;
            m_payloadBlocks = std::move(blocks);
            showTransferLine();
        });
        return;
    }
    showTransferLine();
}

void ToolpathPanel::showTransferLine()
{
    if (m_payloadBlocks.empty())
        return; // nothing goes out line by line
    const AppModel::SentProgram &sentProgram = m_model.sentProgram();
    const auto [sent, total] = m_transferBytes;
    if (total > 0 && sent >= total)
        m_view->setTransferLine(sentProgram.documentLine(m_payloadBlocks.back().line + 1));
    else
        m_view->setTransferLine(sentProgram.documentLine(WireFormat::lineAtByte(m_payloadBlocks, sent)));
}
