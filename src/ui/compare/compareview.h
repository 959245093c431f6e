#pragma once

#include "nc/programdiff.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <QWidget>

class AppModel;
class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QsciScintilla;

// Two programs side by side, read-only, with the blocks that differ marked:
// changed blocks on both sides, removed ones on the left, added ones on the
// right, in colours chosen for the appearance on screen. Scrolling either side
// scrolls the other to the facing block. The comparison options sit above
// the texts; changing one compares again, on the thread pool, and a result
// for options or programs that are no longer current is dropped.
//
// The differences are exactly those of `varn diff` for the same options: both
// come from ProgramDiff.
//
// Main thread only.
class CompareView : public QWidget {
    Q_OBJECT

public:
    explicit CompareView(AppModel &model, QWidget *parent = nullptr);
    ~CompareView() override;

    // The program on screen against a file the user picks; the two programs
    // chosen in the Explorer. Both open a window of their own and return it
    // (null when there is nothing to compare or the user cancels).
    static CompareView *compareSelectedWith(AppModel &model, QWidget *window);
    static CompareView *compareFiles(AppModel &model, const QUrl &a, const QUrl &b, QWidget *window);

    // UTF-8 bytes of each program and the names shown above them.
    void setPrograms(const QByteArray &a, const QString &nameA, const QByteArray &b, const QString &nameB);
    // Shows why a program could not be read, instead of a comparison.
    void showProblem(const QString &message);

    ProgramDiff::Options options() const;
    void setOptions(const ProgramDiff::Options &options);

    // What is on screen: valid once `compared` has been emitted.
    const ProgramDiff::Result &result() const { return m_result; }
    bool isComparing() const { return m_comparing; }
    QsciScintilla *leftEditor() const { return m_left; }
    QsciScintilla *rightEditor() const { return m_right; }
    QString summaryText() const;

    void nextDifference();
    void previousDifference();
    int currentDifference() const { return m_current; }

    // Marker numbers of the three kinds of marked line.
    enum Marker { changedMarker = 1, removedMarker = 2, addedMarker = 3 };

signals:
    void compared();

protected:
    void changeEvent(QEvent *event) override;

private:
    void compare();
    void showResult(ProgramDiff::Result result);
    void markLines(QsciScintilla *editor, qsizetype first, qsizetype count, Marker marker);
    void goToDifference(int index);
    void follow(QsciScintilla *from, QsciScintilla *to, bool fromLeft);
    void applyColours();
    void retranslate();
    void updateSummary();

    AppModel &m_model;
    QLabel *m_nameA;
    QLabel *m_nameB;
    QsciScintilla *m_left;
    QsciScintilla *m_right;
    QCheckBox *m_numeric;
    QLabel *m_toleranceLabel;
    QDoubleSpinBox *m_tolerance;
    QCheckBox *m_ignoreN;
    QCheckBox *m_ignoreComments;
    QPushButton *m_previous;
    QPushButton *m_next;
    QLabel *m_summary;

    QByteArray m_a;
    QByteArray m_b;
    QString m_problem;
    ProgramDiff::Result m_result;
    QList<ProgramDiff::Segment> m_hunks;
    int m_current = -1;
    quint64 m_generation = 0;
    bool m_comparing = false;
    bool m_following = false;
};
