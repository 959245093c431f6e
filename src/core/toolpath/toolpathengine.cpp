#include "toolpathengine.h"

#include "toolpathstore.h"

#include <cmath>
#include <numbers>

namespace {

constexpr int kCancelCheckLines = 512;
constexpr int kMaxDepth = 8;
constexpr double kSamePoint = 1e-6;
constexpr std::size_t kMaxWarnings = 10000;
constexpr double kTurn = 2 * std::numbers::pi;

// The in-plane axes and the normal of a plane, with u × v along the normal, so
// that a positive angle from u toward v is counter-clockwise seen from the
// normal's positive end: XY → Z, ZX → Y, YZ → X.
struct PlaneAxes {
    int u, v, n;
};

PlaneAxes axesOf(int plane)
{
    switch (plane) {
    case 18: return {2, 0, 1};
    case 19: return {1, 2, 0};
    default: return {0, 1, 2};
    }
}

bool onSweep(double angle, double from, double sweep)
{
    double d = sweep >= 0 ? angle - from : from - angle;
    d = std::fmod(d, kTurn);
    if (d < 0)
        d += kTurn;
    return d <= std::abs(sweep);
}

double distance(const std::array<double, 3> &a, const std::array<double, 3> &b)
{
    const double dx = b[0] - a[0], dy = b[1] - a[1], dz = b[2] - a[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

QString gName(int code)
{
    return code % 10 ? QStringLiteral("G%1.%2").arg(code / 10).arg(code % 10) : QStringLiteral("G%1").arg(code / 10);
}

} // namespace

ToolpathEngine::ToolpathEngine(const ToolpathOptions &options, AppLanguage language, ToolpathSource *source,
                               ToolpathStore *store, std::function<bool()> isCancelled)
    : m_options(options), m_language(language), m_source(source), m_store(store),
      m_isCancelled(std::move(isCancelled)),
      m_reader(language, [this](int line, const QString &message) { warn(line, message); })
{
    m_summary.lathe = options.lathe;
    if (options.lathe)
        m_plane = 18;
    if (m_store)
        m_store->start(m_pos, 0);
}

void ToolpathEngine::warn(int line, const QString &message)
{
    if (m_summary.warnings.size() < kMaxWarnings) {
        m_summary.warnings.push_back({line, message});
    } else if (m_summary.warnings.size() == kMaxWarnings) {
        // A program that warns on every block must not grow without end.
        m_summary.warnings.push_back({line, L10n::text("Further warnings are not listed.", m_language)});
    }
}

void ToolpathEngine::warnOnce(int code, int line)
{
    if (!m_warnedCodes.contains(code)) {
        m_warnedCodes.insert(code);
        warn(line, L10n::format("Not drawn: %@", m_language, {gName(code)}));
    }
}

void ToolpathEngine::end(int line)
{
    m_ended = true;
    m_lastLine = line;
}

bool ToolpathEngine::mainLine(QStringView line)
{
    if (m_ended)
        return false;
    if (m_options.stopBeforeLine > 0 && m_mainLine + 1 >= m_options.stopBeforeLine) {
        m_reachedStop = true;
        m_ended = true;
        return false;
    }
    if (m_mainLine % kCancelCheckLines == 0 && m_isCancelled && m_isCancelled()) {
        m_summary.cancelled = true;
        m_ended = true;
        return false;
    }
    ++m_mainLine;
    const Flow flow = runLine(line, m_mainLine, 0);
    if (flow == Flow::returned) // M99 in the main program ends it
        end(m_lastLine);
    return !m_ended;
}

ToolpathSummary ToolpathEngine::finish()
{
    if (!m_ended) {
        resolvePending(0);
        if (!m_ended)
            m_lastLine = m_mainLine;
    }
    m_summary.inches = m_inches;
    m_summary.endLine = m_lastLine;
    if (m_store && !m_summary.cancelled)
        m_store->squeeze();
    return std::move(m_summary);
}

ToolpathEngine::Flow ToolpathEngine::runLine(QStringView text, int lineNumber, int depth)
{
    m_lastLine = lineNumber;
    m_lastBlockNumber.reset();
    // Local: a subprogram this block calls reads its own blocks meanwhile.
    ToolpathBlock b;
    m_reader.read(text, lineNumber, b);
    switch (b.kind) {
    case ToolpathBlock::Kind::empty:
        return Flow::next;
    case ToolpathBlock::Kind::percent:
        if (depth > 0)
            return Flow::returned;
        if (m_seenBlock) {
            end(lineNumber);
            return Flow::ended;
        }
        return Flow::next;
    case ToolpathBlock::Kind::flow:
        warn(lineNumber, L10n::text("Program flow is not followed; the path ends here.", m_language));
        end(lineNumber);
        return Flow::ended;
    case ToolpathBlock::Kind::skipped:
    case ToolpathBlock::Kind::assignment:
        m_seenBlock = true;
        return Flow::next;
    case ToolpathBlock::Kind::words:
        break;
    }
    m_seenBlock = true;
    if (b.has('N'))
        m_lastBlockNumber = b['N'];
    if (m_contour.pending && m_contour.depth == depth) {
        if (b.has('N') && std::abs(b['N'] - m_contour.first) < 1e-9) {
            // The contour follows its cycle: it runs as it stands, here.
            m_contour.pending = false;
            m_contour.following = true;
        } else {
            resolvePending(depth);
            if (m_ended)
                return Flow::ended;
            m_lastLine = lineNumber;
        }
    }
    const bool closesContour = m_contour.following && m_contour.depth == depth && b.has('N') &&
                               std::abs(b['N'] - m_contour.last) < 1e-9;
    const Point contourStart = m_contour.start;
    const std::optional<double> blockNumber = m_lastBlockNumber;
    const Flow flow = execute(b, lineNumber, depth);
    m_lastBlockNumber = blockNumber;
    const int clearAxis = m_options.lathe ? 0 : 2;
    if (m_known[clearAxis] && (!m_clearance || m_pos[clearAxis] > *m_clearance))
        m_clearance = m_pos[clearAxis];
    if (closesContour && flow != Flow::ended) {
        m_contour.following = false;
        rapid(contourStart, lineNumber);
        ++m_summary.rapidMoves;
    }
    return flow;
}

void ToolpathEngine::resolvePending(int depth)
{
    if (!m_contour.pending || m_contour.depth != depth)
        return;
    m_contour.pending = false;
    runContour(m_contour.first, m_contour.last, m_contour.line, depth, m_contour.start);
}

ToolpathEngine::Flow ToolpathEngine::runContour(double first, double last, int line, int depth, Point start)
{
    const std::optional<ToolpathSource::Place> place = m_source ? m_source->findBlock(line, first) : std::nullopt;
    if (!place) {
        warn(line, L10n::format("Blocks N%@ to N%@ are not in the file; the cycle is not drawn.", m_language,
                                {QString::number(first), QString::number(last)}));
        return Flow::next;
    }
    if (depth + 1 > kMaxDepth) {
        warn(line, L10n::text("Calls nested deeper than 8 levels; the path ends here.", m_language));
        end(line);
        return Flow::ended;
    }
    const Flow flow = runFrom(*place, depth + 1, last);
    if (flow == Flow::ended)
        return flow;
    rapid(start, line);
    ++m_summary.rapidMoves;
    m_lastLine = line;
    return Flow::next;
}

// Runs lines from `place` until a return (M99, "%", the end of the text) or,
// when `stopAfterBlock` is a block number, until that block has run.
ToolpathEngine::Flow ToolpathEngine::runFrom(ToolpathSource::Place place, int depth, double stopAfterBlock)
{
    QString text;
    while (m_source->readLine(place, text)) {
        const int number = place.line - 1;
        const Flow flow = runLine(text, number, depth);
        if (flow == Flow::ended)
            return flow;
        const bool last = stopAfterBlock >= 0 && m_lastBlockNumber && std::abs(*m_lastBlockNumber - stopAfterBlock) < 1e-9;
        if (flow == Flow::returned || last)
            break;
    }
    resolvePending(depth);
    return m_ended ? Flow::ended : Flow::next;
}

ToolpathEngine::Flow ToolpathEngine::call(const ToolpathBlock &b, int line, int depth)
{
    if (!b.has('P'))
        return Flow::next;
    auto number = (long long)std::llround(b['P']);
    long long times = b.has('L') ? (long long)std::llround(b['L']) : 1;
    // P30010: the leading digits repeat, the last four name the program.
    if (!b.has('L') && number >= 10000 && number <= 99999999) {
        times = number / 10000;
        number %= 10000;
    }
    const std::optional<ToolpathSource::Place> start = m_source ? m_source->programStart(number) : std::nullopt;
    if (!start) {
        warn(line, L10n::format("Program O%@ is not in the file; the call is skipped.", m_language,
                                {QString::number(number).rightJustified(4, QLatin1Char('0'))}));
        return Flow::next;
    }
    if (depth + 1 > kMaxDepth) {
        warn(line, L10n::text("Calls nested deeper than 8 levels; the path ends here.", m_language));
        end(line);
        return Flow::ended;
    }
    for (long long i = 0; i < times; ++i) {
        if (runFrom(*start, depth + 1, -1) == Flow::ended)
            return Flow::ended;
        if (m_isCancelled && (i % 64) == 63 && m_isCancelled()) {
            m_summary.cancelled = true;
            m_ended = true;
            return Flow::ended;
        }
    }
    m_lastLine = line;
    return Flow::next;
}

void ToolpathEngine::setTool(int tool, int line)
{
    if (m_toolEntry >= 0 && tool == m_tool)
        return;
    m_tool = tool;
    const auto found = m_toolEntries.constFind(tool);
    if (found != m_toolEntries.constEnd()) {
        m_toolEntry = *found;
    } else {
        m_toolEntry = int(m_summary.tools.size());
        m_toolEntries.insert(tool, m_toolEntry);
        m_summary.tools.push_back({tool, line, 0});
    }
    if (m_store)
        m_store->changeTool(tool);
}

void ToolpathEngine::moved(int line)
{
    Q_UNUSED(line);
    if (m_toolEntry < 0)
        setTool(m_tool, 0); // moves before any tool was set belong to tool 0, line 0
}

void ToolpathEngine::include(std::optional<ToolpathSummary::Bounds> &bounds, const Point &p) const
{
    // Turning programs write X as a diameter; the bounds read the same way.
    const Point q{m_options.lathe ? p[0] * 2 : p[0], p[1], p[2]};
    if (!bounds) {
        bounds = ToolpathSummary::Bounds{q, q};
        return;
    }
    for (int axis = 0; axis < 3; ++axis) {
        bounds->min[axis] = std::min(bounds->min[axis], q[axis]);
        bounds->max[axis] = std::max(bounds->max[axis], q[axis]);
    }
}

void ToolpathEngine::rapid(const Point &end, int line, bool cycle)
{
    moved(line);
    m_summary.rapidLength += distance(m_pos, end);
    include(m_summary.rapidBounds, m_pos);
    include(m_summary.rapidBounds, end);
    if (m_store)
        m_store->append(cycle ? MoveKind::cycleRapid : MoveKind::rapid, std::uint32_t(line), end);
    m_pos = end;
}

void ToolpathEngine::countFeed(double length)
{
    m_summary.feedLength += length;
    m_summary.tools[std::size_t(m_toolEntry)].feedLength += length;
    if (m_feed > 0 && !m_feedPerRevolution)
        m_summary.feedSeconds += length / m_feed * 60.0;
}

void ToolpathEngine::feed(const Point &end, int line, bool cycle)
{
    moved(line);
    countFeed(distance(m_pos, end));
    include(m_summary.feedBounds, m_pos);
    include(m_summary.feedBounds, end);
    if (m_store)
        m_store->append(cycle ? MoveKind::cycleFeed : MoveKind::feed, std::uint32_t(line), end);
    m_pos = end;
}

void ToolpathEngine::jump(const Point &to, int line)
{
    if (m_store && to != m_pos)
        m_store->append(MoveKind::jump, std::uint32_t(line), to);
    m_pos = to;
}

void ToolpathEngine::arc(bool ccw, const Point &end, const ToolpathBlock &b, int line)
{
    const PlaneAxes a = axesOf(m_plane);
    const double scale = m_inches ? 25.4 : 1.0;
    const Point s = m_pos;
    const double du = end[a.u] - s[a.u], dv = end[a.v] - s[a.v];
    const double chord = std::hypot(du, dv);
    Point centre = s;
    if (b.has('R')) {
        const double r = b['R'] * scale;
        if (chord < kSamePoint) {
            warn(line, L10n::text("An arc given by R ends where it starts; nothing is drawn.", m_language));
            jump(end, line);
            return;
        }
        const double half = chord / 2;
        if (std::abs(r) < half - kSamePoint) {
            warn(line, L10n::text("Arc radius R is smaller than half the distance to its end; drawn as a straight "
                                  "feed.",
                                  m_language));
            ++m_summary.feedMoves;
            feed(end, line);
            return;
        }
        const double h = std::sqrt(std::max(0.0, r * r - half * half));
        // The centre lies left of the chord for a short counter-clockwise arc.
        const double side = (ccw ? 1.0 : -1.0) * (r > 0 ? 1.0 : -1.0);
        centre[a.u] = s[a.u] + du / 2 - side * h * dv / chord;
        centre[a.v] = s[a.v] + dv / 2 + side * h * du / chord;
    } else {
        static constexpr char kCentreLetters[3] = {'I', 'J', 'K'};
        for (int axis : {a.u, a.v}) {
            const char letter = kCentreLetters[axis];
            const double offset = b.has(letter) ? b[letter] * scale : 0.0;
            if (m_absoluteCentres)
                centre[axis] = b.has(letter) ? offset : s[axis];
            else
                centre[axis] = s[axis] + offset;
        }
    }
    const double r0 = std::hypot(s[a.u] - centre[a.u], s[a.v] - centre[a.v]);
    const double r1 = std::hypot(end[a.u] - centre[a.u], end[a.v] - centre[a.v]);
    if (std::abs(r1 - r0) > 0.002 && std::abs(r1 - r0) > 0.001 * r0) {
        warn(line, L10n::format("The arc's end is not on its circle (radius %@ mm at the start, %@ mm at the "
                                "end); drawn as a straight feed.",
                                m_language,
                                {L10n::number(r0, "%.4f", m_language), L10n::number(r1, "%.4f", m_language)}));
        ++m_summary.feedMoves;
        feed(end, line);
        return;
    }
    const double a0 = std::atan2(s[a.v] - centre[a.v], s[a.u] - centre[a.u]);
    double sweep = 0;
    if (chord < kSamePoint) {
        sweep = ccw ? kTurn : -kTurn; // a full circle
    } else {
        const double a1 = std::atan2(end[a.v] - centre[a.v], end[a.u] - centre[a.u]);
        sweep = a1 - a0;
        if (ccw) {
            while (sweep <= 0)
                sweep += kTurn;
            while (sweep > kTurn)
                sweep -= kTurn;
        } else {
            while (sweep >= 0)
                sweep -= kTurn;
            while (sweep < -kTurn)
                sweep += kTurn;
        }
    }
    moved(line);
    const double rise = end[a.n] - s[a.n];
    const double planar = r0 * std::abs(sweep);
    countFeed(std::sqrt(planar * planar + rise * rise));
    include(m_summary.feedBounds, s);
    include(m_summary.feedBounds, end);
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double angle = quarter * std::numbers::pi / 2;
        if (!onSweep(angle, a0, sweep))
            continue;
        Point p = s;
        p[a.u] = centre[a.u] + r0 * std::cos(angle);
        p[a.v] = centre[a.v] + r0 * std::sin(angle);
        include(m_summary.feedBounds, p);
    }
    ++m_summary.arcMoves;
    if (m_store)
        m_store->appendArc(std::uint32_t(line), end, centre, sweep, m_plane);
    m_pos = end;
}

// The modes of a G code that leave the path alone: offsets, compensation,
// feed and spindle modes.
void ToolpathEngine::keepModes(const ToolpathBlock &b, int g)
{
    switch (g) {
    case 540: case 550: case 560: case 570: case 580: case 590: case 591: case 592: case 593:
        m_workOffset = g;
        break;
    case 541:
        m_workOffset = g;
        m_workOffsetP = b.has('P') ? int(std::llround(b['P'])) : 1;
        break;
    case 400: case 410: case 420:
        m_compensation = g;
        break;
    case 960: m_constantSurfaceSpeed = true; break;
    case 970: m_constantSurfaceSpeed = false; break;
    default:
        break;
    }
    if (!m_options.lathe) {
        switch (g) {
        case 430: case 440:
            m_lengthOffset = g;
            m_lengthRegister = b.has('H') ? int(std::llround(b['H'])) : (m_lengthRegister ? m_lengthRegister : m_tool);
            break;
        case 490: m_lengthOffset = g; break;
        case 930: case 940: case 950: m_feedMode = g; break;
        default: break;
        }
    } else if (g == 980 || g == 990) {
        m_feedMode = g;
    }
}

ToolpathModalState ToolpathEngine::modalState() const
{
    ToolpathModalState s;
    const double unit = m_inches ? 25.4 : 1.0;
    const double xScale = m_options.lathe ? m_xPerRadius : 1.0;
    s.lathe = m_options.lathe;
    s.radiusMode = m_options.lathe && m_xPerRadius == 1;
    s.inches = m_inches;
    s.unitsSet = m_unitsSet;
    s.absolute = m_absolute;
    s.absoluteCentres = m_absoluteCentres;
    s.plane = m_plane;
    switch (m_motion) {
    case Motion::rapid: s.motion = 0; break;
    case Motion::feed: s.motion = 1; break;
    case Motion::cw: s.motion = 2; break;
    case Motion::ccw: s.motion = 3; break;
    case Motion::turningCycle: s.motion = 0; s.turningCycle = true; break;
    }
    s.feedMode = m_feedMode;
    // Per revolution the feed is a small figure the units scale the same way.
    s.feed = m_feed / unit;
    s.workOffset = m_workOffset;
    s.workOffsetP = m_workOffsetP;
    s.tool = m_tool;
    s.nextTool = m_nextTool;
    s.toolWord = m_toolWord;
    s.toolWordDigits = m_toolWordDigits;
    s.lengthOffset = m_lengthOffset;
    s.lengthRegister = m_lengthRegister;
    s.compensation = m_compensation;
    s.cycle = m_cycle;
    s.spindleSpeed = m_spindleSpeed;
    s.maxSpindleSpeed = m_maxSpindleSpeed;
    s.spindle = m_spindle;
    s.constantSurfaceSpeed = m_constantSurfaceSpeed;
    s.mist = m_mist;
    s.flood = m_flood;
    for (int axis = 0; axis < 3; ++axis)
        s.position[axis] = m_pos[axis] * (axis == 0 ? xScale : 1.0) / unit;
    s.known = m_known;
    if (m_clearance)
        s.clearance = *m_clearance * (m_options.lathe ? xScale : 1.0) / unit;
    s.reached = m_reachedStop;
    s.stoppedAt = m_lastLine;
    return s;
}

// One hole of a canned drilling cycle (or K of them); false when the block
// drilled nothing because R or Z is missing.
bool ToolpathEngine::drill(const ToolpathBlock &b, int line)
{
    const double scale = m_inches ? 25.4 : 1.0;
    const bool incremental = !m_absolute && !m_options.lathe;
    long long repeats = 1;
    if (!m_options.lathe && (b.has('K') || b.has('L')))
        repeats = (long long)std::llround(b.has('K') ? b['K'] : b['L']);
    for (long long i = 0; i < repeats; ++i) {
        Point hole = m_pos;
        if (m_options.lathe) {
            if (b.has('X'))
                hole[0] = b['X'] * scale / m_xPerRadius;
            if (b.has('U'))
                hole[0] += b['U'] * scale / m_xPerRadius;
            if (b.has('Y'))
                hole[1] = b['Y'] * scale;
        } else {
            for (int axis = 0; axis < 2; ++axis) {
                const char letter = char('X' + axis);
                if (b.has(letter))
                    hole[axis] = incremental ? hole[axis] + b[letter] * scale : b[letter] * scale;
            }
        }
        if (!m_cycleR || !m_cycleZ) {
            warn(line, L10n::text("No R or no Z given for this hole; it is not drilled.", m_language));
            return false;
        }
        const double r = incremental ? m_initialZ + *m_cycleR : *m_cycleR;
        const double z = incremental ? r + *m_cycleZ : *m_cycleZ;
        rapid(hole, line, true);
        rapid({hole[0], hole[1], r}, line, true);
        feed({hole[0], hole[1], z}, line, true);
        rapid({hole[0], hole[1], m_retractToR && !m_options.lathe ? r : m_initialZ}, line, true);
        ++m_summary.cycleHoles;
    }
    return true;
}

ToolpathEngine::Flow ToolpathEngine::execute(const ToolpathBlock &b, int line, int depth)
{
    const bool lathe = m_options.lathe;
    // Units first: they apply to every figure of their own block.
    if (b.hasG(200))
        m_inches = true;
    if (b.hasG(210))
        m_inches = false;
    m_unitsSet = m_unitsSet || b.hasG(200) || b.hasG(210);
    const double scale = m_inches ? 25.4 : 1.0;
    if (b.has('F'))
        m_feed = b['F'] * scale;
    if (b.has('S')) {
        // G50 S in turning caps the speed of constant surface speed.
        if (lathe && b.hasG(500))
            m_maxSpindleSpeed = b['S'];
        else
            m_spindleSpeed = b['S'];
    }
    if (b.has('T')) {
        const auto t = (long long)std::llround(b['T']);
        m_toolWord = t;
        m_toolWordDigits = b.tDigits;
        if (lathe)
            setTool(int(b.tDigits == 3 || b.tDigits == 4 ? t / 100 : t), line);
        else
            m_nextTool = int(t);
    }
    if (!lathe && b.hasM(6))
        setTool(m_nextTool, line);

    bool moves = true;       // the block's axis words move the tool
    bool reference = false;  // G28/G30: to the intermediate point
    bool setPosition = false; // G92 (G50 in turning)
    std::optional<Motion> oneShot;
    int startsCycle = 0;
    std::optional<int> contourCycle;
    for (int i = 0; i < b.gCount; ++i) {
        const int g = b.g[i];
        keepModes(b, g);
        switch (g) {
        case 0: m_motion = Motion::rapid; m_cycle = 0; break;
        case 10: m_motion = Motion::feed; m_cycle = 0; break;
        case 20: m_motion = Motion::cw; m_cycle = 0; break;
        case 30: m_motion = Motion::ccw; m_cycle = 0; break;
        case 320: case 330: m_motion = Motion::feed; m_cycle = 0; break; // threading feeds along its line
        case 40: moves = false; break;                                   // dwell: X or P is a time
        case 100: moves = false; break;                                  // data setting
        case 170: m_plane = 17; break;
        case 180: m_plane = 18; break;
        case 190: m_plane = 19; break;
        case 280: case 300: reference = true; break;
        case 310: oneShot = Motion::feed; break;
        case 530: moves = false; break; // machine coordinates: the part program's path is elsewhere
        case 800: m_cycle = 0; break;
        case 901: m_absoluteCentres = true; break;
        case 911: m_absoluteCentres = false; break;
        // Their X Y Z are a centre or arguments, not a move.
        case 510: case 511: case 680: case 650: case 660: warnOnce(g, line); moves = false; break;
        case 930: m_feedPerRevolution = false; break;
        case 950: if (!lathe) m_feedPerRevolution = true; break;
        default: break;
        }
        if (!lathe) {
            switch (g) {
            case 900: m_absolute = true; break;
            case 910: m_absolute = false; break;
            case 920: setPosition = true; break;
            case 940: m_feedPerRevolution = false; break;
            case 980: m_retractToR = false; break;
            case 990: m_retractToR = true; break;
            case 730: case 740: case 760: case 810: case 820: case 830: case 840: case 850: case 860: case 870:
            case 880: case 890: startsCycle = g; break;
            default: break;
            }
        } else {
            switch (g) {
            case 500: setPosition = true; break;
            case 980: m_feedPerRevolution = false; break;
            case 990: m_feedPerRevolution = true; break;
            case 70: m_xPerRadius = 2; break; // G7: X is a diameter
            case 80: m_xPerRadius = 1; break; // G8: X is a radius
            case 700: case 710: case 720: case 730: contourCycle = g; moves = false; break;
            case 740: case 750: case 760: warnOnce(g, line); moves = false; break;
            case 900: case 920: case 940:
                warnOnce(g, line);
                m_motion = Motion::turningCycle;
                m_cycle = 0;
                moves = false;
                break;
            case 810: case 820: case 830: case 840: case 850: case 860: case 870: case 880: case 890:
                startsCycle = g;
                break;
            default: break;
            }
        }
    }
    if (startsCycle) {
        if (!m_cycle)
            m_initialZ = m_pos[2];
        m_cycle = startsCycle;
    }

    // Rotary axes turn the part under the tool: the drawn path would be wrong.
    if (!lathe) {
        for (const char axis : {'A', 'B', 'C'}) {
            if (b.has(axis) && !m_warnedAxes.contains(QLatin1Char(axis))) {
                m_warnedAxes.insert(QLatin1Char(axis));
                warn(line, L10n::format("Not drawn: rotary axis %@", m_language, {QString(QLatin1Char(axis))}));
            }
        }
    }

    const bool hasAxis = b.has('X') || b.has('Y') || b.has('Z') || (lathe && (b.has('U') || b.has('W')));
    Point target = m_pos;
    const bool incremental = !m_absolute && !lathe;
    for (int axis = 0; axis < 3; ++axis) {
        const char letter = char('X' + axis);
        if (!b.has(letter))
            continue;
        if (moves && !contourCycle)
            m_known[axis] = true;
        double v = b[letter] * scale;
        if (lathe && axis == 0)
            v /= m_xPerRadius; // a diameter, unless G8 says radius
        target[axis] = incremental ? m_pos[axis] + v : v;
    }
    if (lathe) {
        if (moves && !contourCycle) {
            m_known[0] = m_known[0] || b.has('U');
            m_known[2] = m_known[2] || b.has('W');
        }
        if (b.has('U'))
            target[0] += b['U'] * scale / m_xPerRadius;
        if (b.has('W'))
            target[2] += b['W'] * scale;
    }

    if (contourCycle) {
        const bool bounded = b.has('P') && b.has('Q');
        if (bounded) {
            if (*contourCycle == 700) {
                if (runContour(b['P'], b['Q'], line, depth, m_pos) == Flow::ended)
                    return Flow::ended;
            } else {
                warn(line, L10n::text("Roughing passes not drawn.", m_language));
                m_contour = {true, false, b['P'], b['Q'], m_pos, line, depth};
            }
        }
    } else if (!moves) {
        // Nothing moves: the words are times, data or cycle values.
    } else if (setPosition) {
        if (hasAxis)
            jump(target, line);
    } else if (reference) {
        if (hasAxis) {
            ++m_summary.rapidMoves;
            rapid(target, line);
        }
    } else if (m_cycle && !lathe) {
        const double factor = scale;
        if (b.has('R'))
            m_cycleR = b['R'] * factor;
        if (b.has('Z'))
            m_cycleZ = b['Z'] * factor;
        if (b.has('X') || b.has('Y') || b.has('Z') || b.has('R'))
            drill(b, line);
    } else if (m_cycle && lathe) {
        if (b.has('R'))
            m_cycleR = b['R'] * scale;
        if (b.has('Z') || b.has('W'))
            m_cycleZ = target[2];
        if (hasAxis || b.has('R'))
            drill(b, line);
    } else {
        const Motion motion = oneShot.value_or(m_motion);
        const bool centreOnly = (motion == Motion::cw || motion == Motion::ccw) &&
                                (b.has('I') || b.has('J') || b.has('K'));
        if (hasAxis || centreOnly) {
            switch (motion) {
            case Motion::rapid:
                ++m_summary.rapidMoves;
                rapid(target, line);
                break;
            case Motion::feed:
                ++m_summary.feedMoves;
                feed(target, line);
                break;
            case Motion::cw:
            case Motion::ccw:
                arc(motion == Motion::ccw, target, b, line);
                break;
            case Motion::turningCycle:
                break; // the cycle is not drawn: the tool stays at its start point
            }
        }
    }

    for (int i = 0; i < b.mCount; ++i) {
        switch (b.m[i]) {
        case 3: case 4: case 5: m_spindle = b.m[i]; break;
        case 7: m_mist = true; break;
        case 8: m_flood = true; break;
        case 9: m_mist = m_flood = false; break;
        case 13: m_spindle = 3; m_flood = true; break;
        case 14: m_spindle = 4; m_flood = true; break;
        case 98:
            if (call(b, line, depth) == Flow::ended)
                return Flow::ended;
            break;
        case 99:
            if (depth > 0)
                return Flow::returned;
            end(line);
            return Flow::ended;
        case 2:
        case 30:
            end(line);
            return Flow::ended;
        default:
            break;
        }
    }
    return Flow::next;
}
