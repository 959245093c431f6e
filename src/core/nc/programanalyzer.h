#pragma once

#include "programanalysis.h"
#include "base/l10n.h"

#include <QRandomGenerator>
#include <QStringView>

#include <functional>

// Reads one NC program in a single pass: line count, program number, units,
// tool calls, comment lines, warnings about likely mistakes, the ranges of S,
// F, X, Y and Z, and an estimate of the machining time. Nothing fails: odd
// words are skipped and unknown codes become warnings.
//
// Runs on a background task on every edit. `isCancelled` is asked at the first
// line and then every 512 lines; when it answers true the analysis stops there
// and returns with `cancelled` set, and the caller must drop that result.
class ProgramAnalyzer {
public:
    static ProgramAnalysis analyze(const QString &text, AppLanguage language,
                                   const std::function<bool()> &isCancelled = {});

    // The same analysis over a program that arrives in pieces, so a file far
    // larger than memory allows as one string can be read a block at a time.
    // Feeding the pieces of a text in order and then finishing gives exactly
    // what `analyze` gives for the whole text; `analyze` is this very code.
    //
    // A piece may end anywhere, even inside a line or between the "\r" and
    // "\n" of one line break; a line cut that way is held back until its end
    // arrives, so pieces that end after a line break cost no copy at all.
    class Session {
    public:
        explicit Session(AppLanguage language, std::function<bool()> isCancelled = {});

        // Reads the lines `text` completes. False once the task was cancelled;
        // later pieces are then ignored.
        bool feed(QStringView text);
        // Reads the last line (what followed the last line break, possibly
        // nothing) and hands over the result. The session is spent afterwards.
        ProgramAnalysis finish();

    private:
        friend class ProgramAnalyzer;

        // Everything modal that carries from one line to the next.
        struct State {
            double rapidRate = 8000;
            int motionMode = 0;
            bool absolute = true;
            double x = 0;
            double y = 0;
            double z = 0;
            double feed = 0;
            double seconds = 0;
            bool spindleStarted = false;
            bool programEndSeen = false;
            bool feedWarned = false;
            bool firstLineHasTapeMarker = false;
            int index = 0; // 0-based number of the next line
        };

        // Reads the lines of [begin, end), which ends just past a line break.
        // Returns where it stopped: `end`, or earlier when cancelled.
        const char16_t *readLines(const char16_t *begin, const char16_t *end);
        bool cancelledAt(int index);
        const char16_t *readLine(State &state, const char16_t *start, const char16_t *limit);
        // Reads one line that holds no line break; false when cancelled.
        bool readFinalLine(QStringView line);
        // Reads the last line and completes the analysis.
        ProgramAnalysis finishWith(QStringView lastLine);
        QUuid nextId();
        void warn(int line, QString message);

        ProgramAnalysis m_result;
        State m_state;
        AppLanguage m_language;
        QString m_inchWord;
        std::function<bool()> m_isCancelled;
        QRandomGenerator m_ids;
        QString m_partialLine;  // the start of a line a piece ended inside
        bool m_afterCr = false; // the last piece ended with "\r": a leading "\n" belongs to it
        bool m_stopped = false; // cancelled, or finished
    };
};
