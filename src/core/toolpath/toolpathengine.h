#pragma once

#include "toolpathblock.h"
#include "toolpathmodalstate.h"
#include "toolpathsource.h"
#include "toolpathsummary.h"
#include "base/l10n.h"

#include <QHash>
#include <QSet>
#include <QStringView>

#include <array>
#include <functional>
#include <optional>

class ToolpathStore;

// The machine state a program drives, one block at a time. ToolpathInterpreter
// feeds it the main program's lines; it reads subprograms and turning-cycle
// contours itself through the source. Positions are millimetres with X as a
// radius in turning; the summary shows X as the program writes it.
class ToolpathEngine {
public:
    using Point = std::array<double, 3>;

    ToolpathEngine(const ToolpathOptions &options, AppLanguage language, ToolpathSource *source,
                   ToolpathStore *store, std::function<bool()> isCancelled);

    // The next line of the main program; false once interpretation has ended.
    bool mainLine(QStringView line);
    bool ended() const { return m_ended; }
    ToolpathSummary finish();
    // The modes in force after the lines read so far (before `stopBeforeLine`).
    ToolpathModalState modalState() const;

private:
    enum class Flow { next, returned, ended };
    enum class Motion { rapid, feed, cw, ccw, turningCycle };

    Flow runLine(QStringView line, int lineNumber, int depth);
    Flow execute(const ToolpathBlock &b, int line, int depth);
    Flow call(const ToolpathBlock &b, int line, int depth);
    Flow runContour(double first, double last, int line, int depth, Point start);
    Flow runFrom(ToolpathSource::Place place, int depth, double stopAfterBlock);
    void resolvePending(int depth);

    bool drill(const ToolpathBlock &b, int line);
    void arc(bool ccw, const Point &end, const ToolpathBlock &b, int line);
    void rapid(const Point &end, int line, bool cycle = false);
    void feed(const Point &end, int line, bool cycle = false);
    void jump(const Point &to, int line);
    void countFeed(double length);
    void include(std::optional<ToolpathSummary::Bounds> &bounds, const Point &p) const;
    void moved(int line);
    void setTool(int tool, int line);
    void warn(int line, const QString &message);
    void warnOnce(int code, int line);
    void end(int line);
    void keepModes(const ToolpathBlock &b, int g);

    ToolpathOptions m_options;
    AppLanguage m_language;
    ToolpathSource *m_source;
    ToolpathStore *m_store;
    std::function<bool()> m_isCancelled;
    ToolpathBlockReader m_reader;
    std::optional<double> m_lastBlockNumber; // N of the block runLine ran last
    ToolpathSummary m_summary;

    // Modal state.
    Point m_pos{0, 0, 0};
    Motion m_motion = Motion::rapid;
    int m_plane = 17;
    bool m_absolute = true;
    bool m_absoluteCentres = false;
    bool m_inches = false;
    double m_xPerRadius = 2; // turning: X words are diameters (G7, the default) or radii (G8)
    bool m_feedPerRevolution = false;
    double m_feed = 0;
    int m_tool = 0;
    int m_nextTool = 0;
    int m_toolEntry = -1; // index in m_summary.tools of the current tool
    QHash<int, int> m_toolEntries;

    // Modes that do not change the path but a restart must set again.
    bool m_unitsSet = false;
    int m_feedMode = 0;
    int m_workOffset = 0;
    int m_workOffsetP = 0;
    int m_lengthOffset = 0;
    int m_lengthRegister = 0;
    int m_compensation = 400;
    std::optional<double> m_spindleSpeed;
    std::optional<double> m_maxSpindleSpeed;
    int m_spindle = 0;
    bool m_constantSurfaceSpeed = false;
    bool m_mist = false;
    bool m_flood = false;
    long long m_toolWord = 0;
    int m_toolWordDigits = 0;
    std::array<bool, 3> m_known{};
    std::optional<double> m_clearance; // millimetres; X as a radius in turning
    bool m_reachedStop = false;

    // Canned drilling cycle.
    int m_cycle = 0; // G code, 0 when none
    bool m_retractToR = false;
    double m_initialZ = 0;
    std::optional<double> m_cycleR;
    std::optional<double> m_cycleZ;

    // A turning roughing cycle waiting to see whether its contour follows it.
    struct Contour {
        bool pending = false;
        bool following = false;
        double first = 0;
        double last = 0;
        Point start{};
        int line = 0;
        int depth = 0;
    } m_contour;

    int m_mainLine = 0;   // lines of the main stream read so far
    int m_lastLine = 0;   // the last line interpreted
    bool m_seenBlock = false;
    bool m_ended = false;
    QSet<int> m_warnedCodes;
    QSet<QChar> m_warnedAxes;
};
