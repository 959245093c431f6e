#include "toolpathrestart.h"

#include "toolpathblock.h"
#include "toolpathinterpreter.h"
#include "toolpathsource.h"

#include <cmath>

namespace {

// The start of each line up to `line`, counting "\r\n", "\n" and "\r" as one
// break the way the editor numbers lines; -1 when the program is shorter.
qsizetype offsetOfLine(QStringView program, int line, int *lineCount)
{
    int current = 1;
    qsizetype i = 0;
    const qsizetype size = program.size();
    while (current < line && i < size) {
        const QChar c = program[i++];
        if (c == u'\r') {
            if (i < size && program[i] == u'\n')
                ++i;
            ++current;
        } else if (c == u'\n') {
            ++current;
        }
    }
    *lineCount = current;
    return current == line ? i : -1;
}

QString lineBreakOf(QStringView program)
{
    const qsizetype at = program.indexOf(QLatin1Char('\n'));
    const qsizetype cr = program.indexOf(QLatin1Char('\r'));
    if (cr >= 0 && (at < 0 || cr < at))
        return cr + 1 == at ? QStringLiteral("\r\n") : QStringLiteral("\r");
    return QStringLiteral("\n");
}

// Lines a control expects ahead of any block: the tape's "%" and the
// program's O number. Comments and blanks among them are left behind.
QString headerBefore(QStringView program, qsizetype resumeOffset)
{
    QString header;
    bool seenNumber = false;
    qsizetype i = 0;
    while (i < resumeOffset) {
        qsizetype end = i;
        while (end < resumeOffset && program[end] != u'\n' && program[end] != u'\r')
            ++end;
        qsizetype next = end;
        if (next < resumeOffset && program[next] == u'\r')
            ++next;
        if (next < resumeOffset && program[next] == u'\n')
            ++next;
        const QStringView text = program.sliced(i, end - i).trimmed();
        const bool percent = text == u"%";
        const bool number = !text.isEmpty() && (text[0] == u'O' || text[0] == u'o' || text[0] == u':') &&
                            text.size() > 1 && text[1].isDigit();
        const bool comment = text.isEmpty() || text.startsWith(u'(') || text.startsWith(u';');
        if (!percent && !number && !comment)
            break;
        if (percent || (number && !seenNumber))
            header += program.sliced(i, next - i);
        seenNumber = seenNumber || number;
        i = next;
    }
    return header;
}

// Figures with a decimal point: a Fanuc-style control reads "Z25" as 25
// thousandths. Millimetres keep three places, inches four, without trailing zeros.
QString figure(double value, bool inches)
{
    QString text = QString::number(value, 'f', inches ? 4 : 3);
    while (text.endsWith(QLatin1Char('0')) && !text.endsWith(QStringLiteral(".0")))
        text.chop(1);
    return text == QStringLiteral("-0.0") ? QStringLiteral("0.0") : text;
}

QString whole(double value)
{
    return std::abs(value - std::round(value)) < 1e-9 ? QString::number(qint64(std::llround(value)))
                                                       : QString::number(value);
}

QString gCode(int code)
{
    return code % 10 ? QStringLiteral("G%1.%2").arg(code / 10).arg(code % 10) : QStringLiteral("G%1").arg(code / 10);
}

// The tool, its spindle and coolant, and the way back to where it was: clear
// first (up in Z on a mill, out in X on a lathe), then across, then to the
// point at the feed, since the tool may be in the stock. Gives the motion the
// approach leaves in force, -1 when it moves nothing.
int approach(const ToolpathModalState &s, QStringList &blocks)
{
    const auto word = [&](char letter, double value) { return QLatin1Char(letter) + figure(value, s.inches); };
    if (s.lathe) {
        if (s.toolWord > 0)
            blocks.append(QLatin1Char('T') + QString::number(s.toolWord).rightJustified(s.toolWordDigits, QLatin1Char('0')));
    } else if (s.tool > 0) {
        blocks.append(QStringLiteral("T%1 M6").arg(s.tool));
        if (s.nextTool > 0 && s.nextTool != s.tool)
            blocks.append(QStringLiteral("T%1").arg(s.nextTool));
    }

    if (s.lathe && s.constantSurfaceSpeed && s.maxSpindleSpeed)
        blocks.append(QStringLiteral("G50 S") + whole(*s.maxSpindleSpeed));
    QStringList spindle;
    if (s.lathe)
        spindle.append(s.constantSurfaceSpeed ? QStringLiteral("G96") : QStringLiteral("G97"));
    if (s.spindleSpeed)
        spindle.append(QStringLiteral("S") + whole(*s.spindleSpeed));
    if (s.spindle)
        spindle.append(QStringLiteral("M%1").arg(s.spindle));
    if (s.spindleSpeed || s.spindle)
        blocks.append(spindle.join(QLatin1Char(' ')));
    if (s.mist)
        blocks.append(QStringLiteral("M7"));
    if (s.flood)
        blocks.append(QStringLiteral("M8"));

    const int clearAxis = s.lathe ? 0 : 2;
    const char clearLetter = s.lathe ? 'X' : 'Z';
    const double target = s.position[clearAxis];
    const double clear = s.clearance ? std::max(*s.clearance, target) : target;
    const bool lengthOffset = !s.lathe && (s.lengthOffset == 430 || s.lengthOffset == 440);
    const QString offsetWords =
        lengthOffset ? gCode(s.lengthOffset) + QStringLiteral(" H%1 ").arg(s.lengthRegister) : QString();
    int motionNow = -1; // the motion the approach leaves in force; -1 before any move
    if (s.known[clearAxis]) {
        blocks.append(QStringLiteral("G0 ") + offsetWords + word(clearLetter, clear));
        motionNow = 0;
    } else if (lengthOffset) {
        blocks.append(offsetWords.trimmed());
    }
    QStringList across;
    for (int axis = s.lathe ? 2 : 0; axis < (s.lathe ? 3 : 2); ++axis) {
        if (s.known[axis])
            across.append(word(char('X' + axis), s.position[axis]));
    }
    if (!across.isEmpty()) {
        blocks.append(QStringLiteral("G0 ") + across.join(QLatin1Char(' ')));
        motionNow = 0;
    }
    bool feedSet = false;
    if (s.known[clearAxis] && clear - target > 1e-9) {
        const bool feeding = s.feed > 0 && s.feedMode != 930;
        blocks.append(feeding ? QStringLiteral("G1 ") + word(clearLetter, target) + QLatin1Char(' ') + word('F', s.feed)
                              : QStringLiteral("G0 ") + word(clearLetter, target));
        motionNow = feeding ? 1 : 0;
        feedSet = feeding;
    }
    if (s.feed > 0 && !feedSet)
        blocks.append(word('F', s.feed));
    return motionNow;
}

} // namespace

QString ToolpathRestart::text(QStringView program, const QString &edited) const
{
    QString out;
    out.reserve(header.size() + edited.size() + program.size() - resumeOffset + 2);
    out += header;
    out += edited;
    // An edited preamble that lost its last line break must not join the resumed line.
    if (!edited.isEmpty() && !edited.endsWith(QLatin1Char('\n')) && !edited.endsWith(QLatin1Char('\r')))
        out += lineBreakOf(program);
    out += program.sliced(resumeOffset);
    return out;
}

int ToolpathRestarts::lineOfBlock(QStringView program, qint64 number)
{
    int line = 1;
    qsizetype i = 0;
    const qsizetype size = program.size();
    while (i < size) {
        qsizetype at = i;
        while (at < size && (program[at] == u' ' || program[at] == u'\t' || program[at] == u'/'))
            ++at;
        if (at < size && (program[at] == u'N' || program[at] == u'n')) {
            qint64 value = 0;
            qsizetype digit = at + 1;
            while (digit < size && program[digit].isDigit() && value < (qint64(1) << 40))
                value = value * 10 + program[digit++].digitValue();
            if (digit > at + 1 && value == number)
                return line;
        }
        while (i < size && program[i] != u'\n' && program[i] != u'\r')
            ++i;
        if (i < size && program[i] == u'\r' && i + 1 < size && program[i + 1] == u'\n')
            ++i;
        ++i;
        ++line;
    }
    return 0;
}

QString ToolpathRestarts::preamble(const ToolpathModalState &s, const QString &lineBreak, bool toolChangeFollows)
{
    QStringList blocks;
    const auto word = [&](char letter, double value) { return QLatin1Char(letter) + figure(value, s.inches); };

    // Modes first, so every figure after them reads as the program meant it.
    QStringList modes;
    if (s.unitsSet)
        modes.append(s.inches ? QStringLiteral("G20") : QStringLiteral("G21"));
    modes.append(gCode(s.plane * 10));
    modes.append(QStringLiteral("G40"));
    modes.append(QStringLiteral("G80"));
    if (!s.lathe)
        modes.append(QStringLiteral("G90")); // the approach is absolute; G91 comes back at the end
    if (s.radiusMode)
        modes.append(QStringLiteral("G8"));
    if (s.feedMode)
        modes.append(gCode(s.feedMode));
    if (!s.lathe && s.lengthOffset == 490)
        modes.append(QStringLiteral("G49"));
    blocks.append(modes.join(QLatin1Char(' ')));
    if (s.absoluteCentres && !s.lathe)
        blocks.append(QStringLiteral("G90.1"));
    if (s.workOffset == 541)
        blocks.append(QStringLiteral("G54.1 P%1").arg(s.workOffsetP));
    else if (s.workOffset)
        blocks.append(gCode(s.workOffset));

    // A restart on a tool change leaves the tool, its spindle and its
    // approach to the program, which sets them for the new tool next.
    const int motionNow = toolChangeFollows ? -1 : approach(s, blocks);
    // Bare axis words on the resumed line move the way the program left them.
    if (s.motion != motionNow && !s.turningCycle)
        blocks.append(QStringLiteral("G%1").arg(s.motion));
    if (!s.absolute && !s.lathe)
        blocks.append(QStringLiteral("G91"));
    return blocks.join(lineBreak) + lineBreak;
}

ToolpathRestart ToolpathRestarts::plan(QStringView program, int line, bool lathe, AppLanguage language)
{
    ToolpathRestart restart;
    restart.line = line;
    int lineCount = 0;
    restart.resumeOffset = line >= 1 ? offsetOfLine(program, line, &lineCount) : -1;
    if (restart.resumeOffset < 0) {
        restart.problem = L10n::format("Line %@ is not in the program, which has %@ lines.", language,
                                       {QString::number(line), QString::number(std::max(lineCount, 1))});
        restart.resumeOffset = 0;
        return restart;
    }

    ToolpathOptions options;
    options.lathe = lathe;
    options.stopBeforeLine = line;
    // Subprograms may follow the main program's end: the source holds it all.
    TextToolpathSource source(program);
    ToolpathInterpreter::Session session(options, language, &source);
    session.feed(program.first(restart.resumeOffset));
    if (!session.modalState().reached)
        session.feed(QStringLiteral("\n")); // a last line without its break
    const ToolpathModalState state = session.modalState();
    if (!state.reached) {
        restart.problem = L10n::format("The program does not reach line %@: it stops at line %@.", language,
                                       {QString::number(line), QString::number(state.stoppedAt)});
        return restart;
    }

    restart.header = headerBefore(program, restart.resumeOffset);
    // The line itself changes the tool: M6 on a mill, a T word on a lathe.
    ToolpathBlock block;
    ToolpathBlockReader reader(language, [](int, const QString &) {});
    qsizetype end = restart.resumeOffset;
    while (end < program.size() && program[end] != u'\n' && program[end] != u'\r')
        ++end;
    reader.read(program.sliced(restart.resumeOffset, end - restart.resumeOffset), line, block);
    const bool toolChange = lathe ? block.has('T') : block.hasM(6);
    restart.preamble = preamble(state, lineBreakOf(program), toolChange);
    if (state.cycle || state.turningCycle)
        restart.notes.append(L10n::text("A cycle is in force at this line and the preamble cancels it: restart from "
                                        "the block that starts the cycle.",
                                        language));
    if (state.compensation != 400)
        restart.notes.append(L10n::text("Cutter compensation (G41/G42) is on at this line and the preamble cancels "
                                        "it.",
                                        language));
    const bool knowsAll = lathe ? state.known[0] && state.known[2] : state.known[0] && state.known[1] && state.known[2];
    if (!knowsAll && !toolChange)
        restart.notes.append(L10n::text("No block before this line sets every axis: the preamble moves only the "
                                        "axes it knows.",
                                        language));
    return restart;
}
