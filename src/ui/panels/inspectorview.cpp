#include "inspectorview.h"

#include "resources/varnicons.h"
#include "theme/varnpalette.h"

#include "nc/analysisreport.h"
#include "workspace/appmodel.h"
#include "workspace/editornavigator.h"

#include <QAbstractListModel>
#include <QHBoxLayout>
#include <QLabel>
#include <QListView>
#include <QPainter>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int kMargin = 12;
constexpr int kIconSize = 15;

struct Row {
    InspectorView::RowKind kind;
    QString text;
    QString value; // summary value
    int line = 0;
    QString icon;
    QColor tint;
};

Row makeRow(InspectorView::RowKind kind, QString text, QString value = {}, int line = 0, QString icon = {},
            QColor tint = {})
{
    return {kind, std::move(text), std::move(value), line, std::move(icon), std::move(tint)};
}

} // namespace

// The panel's rows: section titles, summary pairs and jump rows in one list.
class InspectorRowModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void setRows(QList<Row> rows)
    {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }
    const Row &row(int index) const { return m_rows.at(index); }

    int rowCount(const QModelIndex &parent) const override { return parent.isValid() ? 0 : int(m_rows.size()); }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!index.isValid() || index.row() >= m_rows.size()) {
            return {};
        }
        const Row &r = m_rows.at(index.row());
        switch (role) {
        case Qt::DisplayRole:
            return r.text;
        case Qt::ToolTipRole:
            return r.kind == InspectorView::RowKind::jump ? r.text : QVariant();
        case InspectorView::kindRole:
            return int(r.kind);
        case InspectorView::valueRole:
            return r.value;
        case InspectorView::lineRole:
            return r.line;
        default:
            return {};
        }
    }

    Qt::ItemFlags flags(const QModelIndex &index) const override
    {
        // Only rows that lead somewhere take the mouse.
        return data(index, InspectorView::lineRole).toInt() > 0 ? Qt::ItemIsEnabled : Qt::NoItemFlags;
    }

private:
    QList<Row> m_rows;
};

namespace {

// A jump row's text in at most two lines: the first as it breaks, the rest elided.
QStringList twoLines(const QString &text, const QFont &font, int width)
{
    QTextLayout layout(text, font);
    layout.beginLayout();
    QTextLine first = layout.createLine();
    if (!first.isValid()) {
        layout.endLayout();
        return {text};
    }
    first.setLineWidth(width);
    layout.endLayout();
    const int cut = first.textLength();
    if (cut >= text.size()) {
        return {text};
    }
    const QFontMetrics metrics(font);
    return {text.left(cut).trimmed(), metrics.elidedText(text.mid(cut).trimmed(), Qt::ElideRight, width)};
}

int numberWidth(const QFontMetrics &metrics, int line)
{
    return line > 0 ? metrics.horizontalAdvance(QString::number(line)) + 8 : 0;
}

int jumpTextWidth(const QFontMetrics &metrics, int line)
{
    return InspectorView::panelWidth - 2 * kMargin - kIconSize - 8 - numberWidth(metrics, line);
}

// Draws the rows: titles in small bold capitals, summary keys left and values
// right, jump rows as icon, text and a muted line number.
class RowDelegate : public QStyledItemDelegate {
public:
    RowDelegate(InspectorRowModel *rows, QObject *parent) : QStyledItemDelegate(parent), m_rows(rows) {}

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const Row &row = m_rows->row(index.row());
        const QFontMetrics metrics(option.font);
        switch (row.kind) {
        case InspectorView::RowKind::section:
            return {0, metrics.height() + 18};
        case InspectorView::RowKind::summary: {
            const int width = valueWidth();
            const QRect value = metrics.boundingRect(QRect(0, 0, width, 10000), Qt::AlignRight | Qt::TextWordWrap,
                                                     row.value);
            return {0, std::max(metrics.height(), value.height()) + 6};
        }
        case InspectorView::RowKind::jump:
        case InspectorView::RowKind::note:
            break;
        }
        const auto lines = twoLines(row.text, option.font, jumpTextWidth(metrics, row.line)).size();
        return {0, std::max(int(lines) * metrics.lineSpacing(), kIconSize) + 11};
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const Row &row = m_rows->row(index.row());
        const QPalette &palette = option.palette;
        const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
        QColor muted = text;
        muted.setAlphaF(0.6);
        const QRect area = option.rect.adjusted(kMargin, 0, -kMargin, 0);
        painter->save();
        switch (row.kind) {
        case InspectorView::RowKind::section: {
            QFont font = option.font;
            font.setBold(true);
            painter->setFont(font);
            painter->setPen(text);
            painter->drawText(area.adjusted(0, 0, 0, -4), Qt::AlignLeft | Qt::AlignBottom, row.text);
            break;
        }
        case InspectorView::RowKind::summary: {
            painter->setPen(muted);
            painter->drawText(area.adjusted(0, 3, 0, 0), Qt::AlignLeft | Qt::AlignTop, row.text);
            painter->setPen(text);
            const QRect valueRect(area.right() - valueWidth() + 1, area.top() + 3, valueWidth(),
                                  area.height());
            painter->drawText(valueRect, Qt::AlignRight | Qt::AlignTop | Qt::TextWordWrap, row.value);
            break;
        }
        case InspectorView::RowKind::jump:
        case InspectorView::RowKind::note: {
            if (row.line > 0 && (option.state & QStyle::State_MouseOver)) {
                QColor hover = VarnPalette::accent();
                hover.setAlphaF(0.16);
                painter->setRenderHint(QPainter::Antialiasing);
                painter->setPen(Qt::NoPen);
                painter->setBrush(hover);
                painter->drawRoundedRect(option.rect.adjusted(6, 1, -6, -1), 5, 5);
            }
            const QRect iconRect(area.left(), area.top() + 4 + (painter->fontMetrics().height() - kIconSize) / 2,
                                 kIconSize, kIconSize);
            VarnIcons::bundled(row.icon, row.tint).paint(painter, iconRect);
            painter->setFont(option.font);
            const QFontMetrics metrics(option.font);
            if (row.line > 0) {
                painter->setPen(muted);
                painter->drawText(area.adjusted(0, 4, 0, 0), Qt::AlignRight | Qt::AlignTop, QString::number(row.line));
            }
            const int width = jumpTextWidth(metrics, row.line);
            painter->setPen(text);
            painter->drawText(QRect(area.left() + kIconSize + 8, area.top() + 4, width, area.height()),
                              Qt::AlignLeft | Qt::AlignTop, twoLines(row.text, option.font, width).join(QLatin1Char('\n')));
            break;
        }
        }
        painter->restore();
    }

private:
    // Values get the room the longest key leaves them, at least half the row.
    static int valueWidth()
    {
        return std::max(60, (InspectorView::panelWidth - 2 * kMargin) * 55 / 100);
    }

    InspectorRowModel *m_rows;
};

} // namespace

InspectorView::InspectorView(AppModel &model, QWidget *parent)
    : QFrame(parent),
      m_model(model),
      m_title(new QLabel(this)),
      m_recalculate(new QToolButton(this)),
      m_close(new QToolButton(this)),
      m_stack(new QStackedWidget(this)),
      m_list(new QListView(this)),
      m_message(new QLabel(this)),
      m_rows(new InspectorRowModel(this))
{
    setObjectName(QStringLiteral("inspector"));
    setFixedWidth(panelWidth);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::AlternateBase);

    auto *badge = new QLabel(this);
    badge->setPixmap(VarnIcons::bundled(QStringLiteral("analysis"), VarnPalette::logoBlue()).pixmap(16, 16));
    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 0.85);
    titleFont.setLetterSpacing(QFont::AbsoluteSpacing, 1.6);
    m_title->setFont(titleFont);
    m_title->setObjectName(QStringLiteral("inspectorTitle"));

    m_recalculate->setObjectName(QStringLiteral("recalculate"));
    m_recalculate->setIcon(VarnIcons::icon(QStringLiteral("refresh")));
    m_recalculate->setAutoRaise(true);
    m_close->setObjectName(QStringLiteral("closePanel"));
    m_close->setIcon(VarnIcons::bundled(QStringLiteral("close")));
    m_close->setAutoRaise(true);

    auto *header = new QHBoxLayout;
    header->setContentsMargins(kMargin, 8, 6, 8);
    header->setSpacing(6);
    header->addWidget(badge);
    header->addWidget(m_title, 1);
    header->addWidget(m_recalculate);
    header->addWidget(m_close);

    auto *divider = new QFrame(this);
    divider->setFixedHeight(1);
    divider->setAutoFillBackground(true);
    QPalette dividerPalette = divider->palette();
    dividerPalette.setColor(QPalette::Window, VarnPalette::hairline());
    divider->setPalette(dividerPalette);

    m_list->setModel(m_rows);
    m_list->setItemDelegate(new RowDelegate(m_rows, m_list));
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setMouseTracking(true);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setUniformItemSizes(false);
    m_list->setLayoutMode(QListView::Batched);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->setAutoFillBackground(false);
    m_list->viewport()->setCursor(Qt::PointingHandCursor);

    m_message->setAlignment(Qt::AlignCenter);
    m_message->setWordWrap(true);
    m_message->setMargin(20);
    m_message->setForegroundRole(QPalette::PlaceholderText);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_message);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(header);
    column->addWidget(divider);
    column->addWidget(m_stack, 1);

    connect(m_recalculate, &QToolButton::clicked, &m_model, &AppModel::refreshAnalysis);
    connect(m_close, &QToolButton::clicked, this, [this] { m_model.setShowInspector(false); });
    connect(m_list, &QListView::clicked, this, &InspectorView::jump);
    connect(&m_model, &AppModel::analysisChanged, this, &InspectorView::rebuild);
    connect(&m_model, &AppModel::analysisInProgressChanged, this, &InspectorView::rebuild);
    connect(&m_model, &AppModel::languageChanged, this, [this] {
        retranslate();
        rebuild();
    });
    connect(&m_model, &AppModel::selectedDocumentChanged, this, [this] {
        if (isVisible()) {
            // After the model has had its own say on the change.
            QTimer::singleShot(0, this, &InspectorView::refreshIfStale);
        }
    });
    retranslate();
    rebuild();
}

QString InspectorView::messageShown() const
{
    return m_stack->currentWidget() == m_message ? m_message->text() : QString();
}

void InspectorView::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    QTimer::singleShot(0, this, &InspectorView::refreshIfStale);
}

void InspectorView::refreshIfStale()
{
    if (!isVisible() || m_model.analysisInProgress()) {
        return;
    }
    if (const EditorDocument *doc = m_model.selectedDocument(); doc && m_model.analysis()) {
        const auto cached = m_model.cachedAnalysis(doc->id());
        if (cached && cached->revision == doc->revision()) {
            return;
        }
    }
    m_model.refreshAnalysis();
}

void InspectorView::retranslate()
{
    const AppLanguage language = m_model.language();
    m_title->setText(L10n::text("ANALYSIS", language));
    m_recalculate->setToolTip(L10n::text("Recalculate", language));
    m_recalculate->setAccessibleName(m_recalculate->toolTip());
    m_close->setToolTip(L10n::text("Close Panel", language));
    m_close->setAccessibleName(m_close->toolTip());
}

void InspectorView::setToolpathWarnings(QList<std::pair<int, QString>> warnings)
{
    if (warnings == m_toolpathWarnings)
        return;
    m_toolpathWarnings = std::move(warnings);
    rebuild();
}

void InspectorView::rebuild()
{
    const AppLanguage language = m_model.language();
    const std::optional<ProgramAnalysis> &analysis = m_model.analysis();
    if (!analysis) {
        m_rows->setRows({});
        m_message->setText(m_model.analysisInProgress() ? L10n::text("Analyzing program…", language)
                                                        : L10n::text("Open a program to analyze it.", language));
        m_stack->setCurrentWidget(m_message);
        return;
    }

    QList<Row> rows;
    rows.reserve(8 + analysis->tools.size() + analysis->comments.size() + analysis->warnings.size());
    rows.append(makeRow(RowKind::section, L10n::text("Summary", language)));
    for (const AnalysisReport::SummaryRow &pair : AnalysisReport::summaryRows(*analysis, language)) {
        rows.append(makeRow(RowKind::summary, pair.key, pair.value));
    }
    rows.append(makeRow(RowKind::section, L10n::text("Tools", language)));
    for (const ProgramAnalysis::ToolEntry &tool : analysis->tools) {
        QString text = QStringLiteral("T") + tool.tool;
        if (tool.comment) {
            text += QStringLiteral("  ") + *tool.comment;
        }
        rows.append(makeRow(RowKind::jump, text, {}, tool.line, QStringLiteral("wrench")));
    }
    rows.append(makeRow(RowKind::section, L10n::text("Comments", language)));
    for (const ProgramAnalysis::CommentEntry &comment : analysis->comments) {
        rows.append(makeRow(RowKind::jump, comment.text, {}, comment.line, QStringLiteral("bubble")));
    }
    rows.append(makeRow(RowKind::section, L10n::text("Warnings", language)));
    for (const ProgramAnalysis::Warning &warning : analysis->warnings) {
        rows.append(makeRow(RowKind::jump, warning.message, {}, warning.line, QStringLiteral("warning"),
                     VarnPalette::warning()));
    }
    for (const auto &[line, message] : m_toolpathWarnings) {
        rows.append(makeRow(RowKind::jump, L10n::format("Toolpath: %@", language, {message}), {}, line,
                            QStringLiteral("warning"), VarnPalette::warning()));
    }
    if (analysis->warnings.isEmpty() && m_toolpathWarnings.isEmpty()) {
        rows.append(makeRow(RowKind::note, L10n::text("No Warnings", language), {}, 0, QStringLiteral("check-seal"),
                     VarnPalette::ready()));
    }
    m_rows->setRows(std::move(rows));
    m_stack->setCurrentWidget(m_list);
}

void InspectorView::jump(const QModelIndex &index)
{
    const int line = index.data(lineRole).toInt();
    if (line > 0 && m_model.editor()) {
        m_model.editor()->goToLine(line);
    }
}
