#pragma once

#include <QFrame>

class AppModel;
class QLabel;
class QListView;
class QStackedWidget;
class QToolButton;
class InspectorRowModel;

// The analysis panel at the right of the window: the selected program's
// summary, tool calls, comments and warnings, read from the model's analysis.
// It keeps no state of its own; what it shows follows from the model's
// `analysis` and `analysisInProgress` at that moment: the analysis when there
// is one, else "Analyzing program…" while one runs, else the invitation to
// open a program.
//
// Every row that names a line is a button that moves the editor there. The
// rows live in one virtual list, so a program with a hundred thousand
// comments costs the panel a list model, not a widget per row.
//
// Appearing, "Recalculate" and a change of the selected program ask the model
// to analyse; the first and last only when the model has no current result
// (it re-analyses on a change of program by itself, and a second request
// would throw away the run that is already under way).
class InspectorView : public QFrame {
    Q_OBJECT

public:
    static constexpr int panelWidth = 268;

    // Roles of the row list, besides the display text.
    enum Role {
        kindRole = Qt::UserRole + 1, // RowKind
        valueRole,                   // a summary row's value
        lineRole,                    // a jump row's line; 0 for rows that jump nowhere
    };
    enum class RowKind { section, summary, jump, note };

    explicit InspectorView(AppModel &model, QWidget *parent = nullptr);

    QListView *rowList() const { return m_list; }
    // The text shown instead of the rows; empty while the rows are shown.
    QString messageShown() const;
    // Warnings of the Toolpath panel, listed after the analysis's own and
    // marked as the toolpath's; empty while that panel is closed.
    void setToolpathWarnings(QList<std::pair<int, QString>> warnings);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void retranslate();
    void rebuild();
    void refreshIfStale();
    void jump(const QModelIndex &index);

    AppModel &m_model;
    QList<std::pair<int, QString>> m_toolpathWarnings;
    QLabel *m_title;
    QToolButton *m_recalculate;
    QToolButton *m_close;
    QStackedWidget *m_stack;
    QListView *m_list;
    QLabel *m_message;
    InspectorRowModel *m_rows;
};
