#include "compareview.h"

#include "theme/appearance.h"

#include "base/l10n.h"
#include "base/textfile.h"
#include "workspace/appmodel.h"
#include "workspace/dialogs.h"
#include "workspace/editordocument.h"

#include <Qsci/qsciscintilla.h>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QEvent>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFutureWatcher>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace {

using Kind = ProgramDiff::Segment::Kind;

// Pale tints on a light page, deep ones on a dark page: the text keeps its
// contrast either way and the three kinds stay apart.
struct Tints {
    QColor changed, removed, added;
};

Tints tints(bool dark)
{
    if (dark) {
        return {QColor(0x55, 0x48, 0x14), QColor(0x5e, 0x24, 0x28), QColor(0x1f, 0x4d, 0x2c)};
    }
    return {QColor(0xff, 0xee, 0xb8), QColor(0xff, 0xd6, 0xd3), QColor(0xd2, 0xf4, 0xd8)};
}

QsciScintilla *makeEditor(QWidget *parent)
{
    auto *editor = new QsciScintilla(parent);
    editor->setUtf8(true);
    editor->setReadOnly(true);
    editor->setWrapMode(QsciScintilla::WrapNone);
    editor->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    editor->setMarginType(0, QsciScintilla::NumberMargin);
    editor->setMarginLineNumbers(0, true);
    for (int marker : {CompareView::changedMarker, CompareView::removedMarker, CompareView::addedMarker}) {
        editor->markerDefine(QsciScintilla::Background, marker);
    }
    return editor;
}

// The program's bytes, or the reason it cannot be compared.
std::optional<QByteArray> readProgram(const QUrl &url, AppLanguage language, QString *problem)
{
    const TextFile::ReadResult read = TextFile::read(url.toLocalFile());
    const QString name = QFileInfo(url.toLocalFile()).fileName();
    if (read.error == TextFile::ReadError::invalidUtf8) {
        *problem = L10n::format("%@: not valid UTF-8 (byte %@).", language,
                                {name, QString::number(read.invalidByteOffset)});
        return std::nullopt;
    }
    if (!read.ok()) {
        *problem = L10n::format("%@: cannot read the file (%@).", language, {name, read.errorString});
        return std::nullopt;
    }
    return read.text.toUtf8();
}

CompareView *openWindow(AppModel &model, QWidget *window)
{
    auto *view = new CompareView(model, window);
    view->setWindowFlag(Qt::Window);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->resize(1100, 720);
    view->show();
    return view;
}

} // namespace

CompareView::CompareView(AppModel &model, QWidget *parent)
    : QWidget(parent), m_model(model), m_nameA(new QLabel(this)), m_nameB(new QLabel(this)),
      m_left(makeEditor(this)), m_right(makeEditor(this)), m_numeric(new QCheckBox(this)),
      m_toleranceLabel(new QLabel(this)), m_tolerance(new QDoubleSpinBox(this)), m_ignoreN(new QCheckBox(this)),
      m_ignoreComments(new QCheckBox(this)), m_previous(new QPushButton(this)), m_next(new QPushButton(this)),
      m_summary(new QLabel(this))
{
    m_tolerance->setDecimals(4);
    m_tolerance->setRange(0, 1000);
    m_tolerance->setSingleStep(0.001);
    m_toleranceLabel->setBuddy(m_tolerance);

    auto *options = new QHBoxLayout;
    options->addWidget(m_numeric);
    options->addWidget(m_toleranceLabel);
    options->addWidget(m_tolerance);
    options->addWidget(m_ignoreN);
    options->addWidget(m_ignoreComments);
    options->addStretch(1);
    options->addWidget(m_summary);
    options->addWidget(m_previous);
    options->addWidget(m_next);

    auto *texts = new QGridLayout;
    texts->addWidget(m_nameA, 0, 0);
    texts->addWidget(m_nameB, 0, 1);
    texts->addWidget(m_left, 1, 0);
    texts->addWidget(m_right, 1, 1);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(options);
    layout->addLayout(texts, 1);

    for (QCheckBox *box : {m_numeric, m_ignoreN, m_ignoreComments}) {
        connect(box, &QCheckBox::toggled, this, &CompareView::compare);
    }
    connect(m_tolerance, &QDoubleSpinBox::valueChanged, this, &CompareView::compare);
    connect(m_next, &QPushButton::clicked, this, &CompareView::nextDifference);
    connect(m_previous, &QPushButton::clicked, this, &CompareView::previousDifference);
    connect(m_left->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { follow(m_left, m_right, true); });
    connect(m_right->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { follow(m_right, m_left, false); });
    connect(m_left->horizontalScrollBar(), &QScrollBar::valueChanged, m_right->horizontalScrollBar(),
            &QScrollBar::setValue);
    connect(m_right->horizontalScrollBar(), &QScrollBar::valueChanged, m_left->horizontalScrollBar(),
            &QScrollBar::setValue);
    connect(&m_model, &AppModel::languageChanged, this, &CompareView::retranslate);
    applyColours();
    retranslate();
}

CompareView::~CompareView()
{
    // A comparison still running finds its generation stale and its watcher gone with us.
    ++m_generation;
}

CompareView *CompareView::compareSelectedWith(AppModel &model, QWidget *window)
{
    EditorDocument *document = model.selectedDocument();
    Dialogs *dialogs = model.dialogs();
    if (!document || !dialogs) {
        return nullptr;
    }
    const AppLanguage language = model.language();
    const QUrl folder = document->url().isValid() ? document->url().adjusted(QUrl::RemoveFilename) : QUrl();
    const QList<QUrl> chosen = dialogs->chooseFiles(L10n::text("Choose the program to compare with.", language), folder);
    if (chosen.isEmpty()) {
        return nullptr;
    }
    CompareView *view = openWindow(model, window);
    QString problem;
    const std::optional<QByteArray> other = readProgram(chosen.first(), language, &problem);
    if (!other) {
        view->showProblem(problem);
        return view;
    }
    view->setPrograms(document->text().toUtf8(), document->displayName(language), *other,
                      QFileInfo(chosen.first().toLocalFile()).fileName());
    return view;
}

CompareView *CompareView::compareFiles(AppModel &model, const QUrl &a, const QUrl &b, QWidget *window)
{
    CompareView *view = openWindow(model, window);
    QString problem;
    const std::optional<QByteArray> first = readProgram(a, model.language(), &problem);
    const std::optional<QByteArray> second = first ? readProgram(b, model.language(), &problem) : std::nullopt;
    if (!second) {
        view->showProblem(problem);
        return view;
    }
    view->setPrograms(*first, QFileInfo(a.toLocalFile()).fileName(), *second, QFileInfo(b.toLocalFile()).fileName());
    return view;
}

void CompareView::setPrograms(const QByteArray &a, const QString &nameA, const QByteArray &b, const QString &nameB)
{
    m_a = a;
    m_b = b;
    m_problem.clear();
    m_nameA->setText(nameA);
    m_nameB->setText(nameB);
    setWindowTitle(nameA + QStringLiteral(" ↔ ") + nameB);
    // Straight into the buffers: the text is UTF-8 already and may be large.
    for (auto [editor, bytes] : {std::pair{m_left, &m_a}, std::pair{m_right, &m_b}}) {
        editor->setReadOnly(false);
        editor->SendScintilla(QsciScintilla::SCI_SETTEXT, bytes->constData());
        editor->setReadOnly(true);
        editor->SendScintilla(QsciScintilla::SCI_EMPTYUNDOBUFFER);
        const int digits = QString::number(editor->lines()).size();
        editor->setMarginWidth(0, QString(digits + 1, QLatin1Char('9')));
    }
    compare();
}

void CompareView::showProblem(const QString &message)
{
    ++m_generation;
    m_comparing = false;
    m_problem = message;
    updateSummary();
}

ProgramDiff::Options CompareView::options() const
{
    ProgramDiff::Options options;
    options.numeric = m_numeric->isChecked();
    options.tolerance = m_tolerance->value();
    options.ignoreN = m_ignoreN->isChecked();
    options.ignoreComments = m_ignoreComments->isChecked();
    return options;
}

void CompareView::setOptions(const ProgramDiff::Options &options)
{
    // One comparison for the whole change, not one per control.
    const QSignalBlocker blockNumeric(m_numeric), blockTolerance(m_tolerance), blockN(m_ignoreN),
        blockComments(m_ignoreComments);
    m_numeric->setChecked(options.numeric);
    m_tolerance->setValue(options.tolerance);
    m_ignoreN->setChecked(options.ignoreN);
    m_ignoreComments->setChecked(options.ignoreComments);
    compare();
}

void CompareView::compare()
{
    if (!m_problem.isEmpty()) {
        return;
    }
    const quint64 generation = ++m_generation;
    m_comparing = true;
    updateSummary();
    auto *watcher = new QFutureWatcher<ProgramDiff::Result>(this);
    connect(watcher, &QFutureWatcher<ProgramDiff::Result>::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation == m_generation) {
            showResult(watcher->result());
        }
    });
    watcher->setFuture(QtConcurrent::run(
        [a = m_a, b = m_b, options = options()] { return ProgramDiff::compare(a, b, options); }));
}

void CompareView::showResult(ProgramDiff::Result result)
{
    m_comparing = false;
    m_result = std::move(result);
    m_hunks = m_result.hunks();
    m_current = -1;
    for (QsciScintilla *editor : {m_left, m_right}) {
        for (int marker : {changedMarker, removedMarker, addedMarker}) {
            editor->markerDeleteAll(marker);
        }
    }
    for (const ProgramDiff::Segment &hunk : m_hunks) {
        const bool replaced = hunk.aCount > 0 && hunk.bCount > 0;
        markLines(m_left, hunk.a, hunk.aCount, replaced ? changedMarker : removedMarker);
        markLines(m_right, hunk.b, hunk.bCount, replaced ? changedMarker : addedMarker);
    }
    updateSummary();
    emit compared();
}

void CompareView::markLines(QsciScintilla *editor, qsizetype first, qsizetype count, Marker marker)
{
    for (qsizetype line = first; line < first + count; ++line) {
        editor->markerAdd(static_cast<int>(line), marker);
    }
}

void CompareView::nextDifference()
{
    if (!m_hunks.isEmpty()) {
        goToDifference(m_current + 1 < m_hunks.size() ? m_current + 1 : 0);
    }
}

void CompareView::previousDifference()
{
    if (!m_hunks.isEmpty()) {
        goToDifference(m_current > 0 ? m_current - 1 : static_cast<int>(m_hunks.size()) - 1);
    }
}

void CompareView::goToDifference(int index)
{
    m_current = index;
    const ProgramDiff::Segment &hunk = m_hunks[index];
    // A few blocks of context above the difference, on both sides at once.
    m_following = true;
    m_left->setFirstVisibleLine(static_cast<int>(std::max<qsizetype>(hunk.a - 3, 0)));
    m_right->setFirstVisibleLine(static_cast<int>(std::max<qsizetype>(hunk.b - 3, 0)));
    m_left->setCursorPosition(static_cast<int>(hunk.a), 0);
    m_right->setCursorPosition(static_cast<int>(hunk.b), 0);
    m_following = false;
    updateSummary();
}

void CompareView::follow(QsciScintilla *from, QsciScintilla *to, bool fromLeft)
{
    if (m_following || m_comparing || m_result.segments.isEmpty()) {
        return;
    }
    m_following = true;
    const qsizetype line = from->firstVisibleLine();
    to->setFirstVisibleLine(static_cast<int>(m_result.facingLine(line, fromLeft)));
    m_following = false;
}

QString CompareView::summaryText() const
{
    const AppLanguage language = m_model.language();
    if (!m_problem.isEmpty()) {
        return m_problem;
    }
    if (m_comparing) {
        return L10n::text("Comparing…", language);
    }
    if (m_hunks.isEmpty()) {
        return L10n::text("The programs are equal.", language);
    }
    if (m_current >= 0) {
        return L10n::format("Difference %@ of %@", language,
                            {QString::number(m_current + 1), QString::number(m_hunks.size())});
    }
    return L10n::format("Differences: %@", language, {QString::number(m_hunks.size())});
}

void CompareView::updateSummary()
{
    m_summary->setText(summaryText());
    const bool any = !m_comparing && m_problem.isEmpty() && !m_hunks.isEmpty();
    m_next->setEnabled(any);
    m_previous->setEnabled(any);
}

void CompareView::applyColours()
{
    const Tints tint = tints(Appearance::isDark(palette()));
    const QPalette &p = palette();
    for (QsciScintilla *editor : {m_left, m_right}) {
        editor->setPaper(p.color(QPalette::Base));
        editor->setColor(p.color(QPalette::Text));
        editor->setMarginsBackgroundColor(p.color(QPalette::Window));
        editor->setMarginsForegroundColor(p.color(QPalette::PlaceholderText));
        editor->setCaretForegroundColor(p.color(QPalette::Text));
        editor->setMarkerBackgroundColor(tint.changed, changedMarker);
        editor->setMarkerBackgroundColor(tint.removed, removedMarker);
        editor->setMarkerBackgroundColor(tint.added, addedMarker);
    }
}

void CompareView::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyColours();
    }
}

void CompareView::retranslate()
{
    const AppLanguage language = m_model.language();
    m_numeric->setText(L10n::text("Numbers by value", language));
    m_numeric->setToolTip(L10n::text("X1. = X1.0 = X01: numbers are equal when their values are.", language));
    m_toleranceLabel->setText(L10n::text("Tolerance", language));
    m_ignoreN->setText(L10n::text("Ignore N numbers", language));
    m_ignoreComments->setText(L10n::text("Ignore blanks and comments", language));
    m_previous->setText(L10n::text("Previous Difference", language));
    m_next->setText(L10n::text("Next Difference", language));
    if (windowTitle().isEmpty()) {
        setWindowTitle(L10n::text("Compare", language));
    }
    updateSummary();
}
