// Ports, machine profiles and sending as `varn` commands.
#include "commands.h"
#include "consoleline.h"

#include "jsonwriter.h"
#include "machines/machinestore.h"
#include "toolpath/toolpathrestart.h"
#include "toolpath/toolpathturning.h"
#include "transfer/transfercontroller.h"
#include "transfer/wireformat.h"
#include "transport/serialdiagnostics.h"
#include "transport/serialportscanner.h"
#include "transport/transporterror.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>

#include <climits>
#include <cstring>

namespace {

const OptionSpec kJson{QStringLiteral("--json"), {}, false};
const OptionSpec kFromLine{QStringLiteral("--from-line"), {}, true};
const OptionSpec kFromBlock{QStringLiteral("--from-block"), {}, true};
const OptionSpec kLathe{QStringLiteral("--lathe"), {}, false};

} // namespace

std::optional<QString> readProgramToSend(const CommandContext &ctx, bool preambleToOut)
{
    const std::optional<QString> read = ctx.readProgram(0);
    if (!read)
        return std::nullopt;
    const QString &program = *read;
    const Invocation &call = ctx.invocation();
    const bool fromLine = call.has(kFromLine.name);
    const bool fromBlock = call.has(kFromBlock.name);
    if (!fromLine && !fromBlock)
        return read;
    if (fromLine && fromBlock) {
        ctx.badInput(ctx.tr("Use --from-line or --from-block, not both."));
        return std::nullopt;
    }
    qint64 value = 0;
    if (fromLine) {
        if (!parseInteger(call.value(kFromLine.name), &value) || value < 1 || value > INT_MAX) {
            ctx.badInput(L10n::format("--from-line needs a line number, not \"%@\".", ctx.language(),
                                      {call.value(kFromLine.name)}));
            return std::nullopt;
        }
    } else {
        QString block = call.value(kFromBlock.name);
        if (block.startsWith(QLatin1Char('N'), Qt::CaseInsensitive))
            block.remove(0, 1);
        if (!parseInteger(block, &value) || value < 0) {
            ctx.badInput(L10n::format("--from-block needs a block number such as N1234, not \"%@\".",
                                      ctx.language(), {call.value(kFromBlock.name)}));
            return std::nullopt;
        }
        value = ToolpathRestarts::lineOfBlock(program, value);
        if (value == 0) {
            ctx.badInput(L10n::format("No block %@ in the program.", ctx.language(), {call.value(kFromBlock.name)}));
            return std::nullopt;
        }
    }
    const bool lathe = call.has(kLathe.name) || ToolpathTurning::looksLikeTurning(program);
    const ToolpathRestart restart = ToolpathRestarts::plan(program, int(value), lathe, ctx.language());
    if (!restart.ok()) {
        ctx.badInput(restart.problem);
        return std::nullopt;
    }
    const QString heading = L10n::format("Restart preamble for line %@:", ctx.language(), {QString::number(value)});
    if (preambleToOut) {
        CommandContext::writeOut((heading + QLatin1Char('\n') + restart.preamble).toUtf8());
    } else {
        CommandContext::writeErr(heading);
        CommandContext::writeErrRaw(restart.preamble);
    }
    for (const QString &note : restart.notes)
        CommandContext::writeErr(QStringLiteral("! ") + note);
    return restart.text(program, restart.preamble);
}

QList<OptionSpec> restartOptions()
{
    return {kFromLine, kFromBlock, kLathe};
}

namespace {

int ports(CommandContext &ctx)
{
    const QList<SerialPort> found = SerialPortScanner::available();
    // What could make an adapter lose bytes or vanish; listed only where there is something to say.
    const QList<SerialDiagnostic> system = SerialDiagnostics::forSystem();
    QString out;
    if (ctx.invocation().has(kJson.name)) {
        JsonWriter json;
        json.beginArray();
        for (const SerialPort &port : found) {
            json.beginObject();
            json.key("path").string(port.path);
            json.key("label").string(port.label);
            const QList<SerialDiagnostic> advice = SerialDiagnostics::forPort(port.path);
            if (!advice.isEmpty()) {
                json.key("advice").beginArray();
                for (const SerialDiagnostic &item : advice) {
                    json.string(item.description(ctx.language()));
                }
                json.endArray();
            }
            json.endObject();
        }
        json.endArray();
        out = json.text() + QLatin1Char('\n');
    } else {
        if (found.isEmpty()) {
            CommandContext::writeErr(ctx.tr("No ports found"));
        }
        for (const SerialPort &port : found) {
            out += port.label.isEmpty() ? port.path : port.path + QStringLiteral("  ") + port.label;
            out += QLatin1Char('\n');
            for (const SerialDiagnostic &item : SerialDiagnostics::forPort(port.path)) {
                out += QStringLiteral("  ! ") + item.description(ctx.language()) + QLatin1Char('\n');
            }
        }
    }
    for (const SerialDiagnostic &item : system) {
        CommandContext::writeErr(QStringLiteral("! ") + item.description(ctx.language()));
    }
    CommandContext::writeOut(out.toUtf8());
    return ExitStatus::ok;
}

int machines(CommandContext &ctx)
{
    MachineStore store;
    if (ctx.invocation().has(kJson.name)) {
        CommandContext::writeOut(Machine::encodeList(store.machines()) + '\n');
        return ExitStatus::ok;
    }
    qsizetype idWidth = 0;
    qsizetype nameWidth = 0;
    for (const Machine &machine : store.machines()) {
        idWidth = qMax(idWidth, machine.id.size());
        nameWidth = qMax(nameWidth, machine.name.size());
    }
    QString out;
    for (const Machine &machine : store.machines()) {
        out += machine.id.leftJustified(idWidth) + QStringLiteral("  ") + machine.name.leftJustified(nameWidth) +
               QStringLiteral("  ") + machine.summary(ctx.language()) + QLatin1Char('\n');
    }
    CommandContext::writeOut(out.toUtf8());
    return ExitStatus::ok;
}

} // namespace

// The profile named on the command line: by id, then by name, then by name in
// any letter case. Two profiles matching the same way is an ambiguity.
std::optional<Machine> findMachine(const QList<Machine> &list, const QString &wanted, QString *problem,
                                   AppLanguage language)
{
    const std::function<bool(const Machine &)> tests[] = {
        [&](const Machine &m) { return m.id == wanted; },
        [&](const Machine &m) { return m.name == wanted; },
        [&](const Machine &m) { return m.name.compare(wanted, Qt::CaseInsensitive) == 0; },
    };
    for (const auto &test : tests) {
        QList<Machine> matches;
        for (const Machine &machine : list) {
            if (test(machine)) {
                matches.append(machine);
            }
        }
        if (matches.size() == 1) {
            return matches.first();
        }
        if (matches.size() > 1) {
            *problem = L10n::format("More than one machine is called \"%@\"; use its id.", language, {wanted});
            return std::nullopt;
        }
    }
    QStringList ids;
    for (const Machine &machine : list) {
        ids.append(machine.id);
    }
    *problem = L10n::format("No machine \"%@\". Known machines: %@.", language,
                            {wanted, ids.join(QStringLiteral(", "))});
    return std::nullopt;
}

namespace {

// Draws the progress of a transfer on standard error: a redrawn bar on a
// terminal, a line every tenth of the way when standard error is a file.
class ProgressPrinter {
public:
    explicit ProgressPrinter(AppLanguage language) : m_language(language) {}

    void update(const TransferState &state)
    {
        if (state.status == TransferState::Status::sending && !m_clock.isValid()) {
            m_clock.start();
        }
        if (state.status != TransferState::Status::sending || state.totalBytes < 1) {
            return;
        }
        const int percent = state.percent();
        if (m_line.onTerminal()) {
            if (m_redraw.isValid() && m_redraw.elapsed() < 100 && percent < 100) {
                return;
            }
            m_redraw.start();
            m_line.show(render(state, percent), false);
        } else if (percent / 10 > m_lastDecile) {
            m_lastDecile = percent / 10;
            m_line.show(render(state, percent), true);
        }
    }

    void finish() { m_line.finish(); }

private:
    QString render(const TransferState &state, int percent) const
    {
        constexpr int barWidth = 24;
        const int filled = percent * barWidth / 100;
        QString line = QLatin1Char('[') + QString(filled, QLatin1Char('#')) +
                       QString(barWidth - filled, QLatin1Char('.')) + QStringLiteral("] ") +
                       QString::number(percent).rightJustified(3) + QStringLiteral("%  ") +
                       state.progressLabel(m_language);
        const double seconds = m_clock.isValid() ? m_clock.elapsed() / 1000.0 : 0;
        if (seconds > 0.5 && state.bytesSent > 0) {
            const double rate = state.bytesSent / seconds;
            line += QStringLiteral("  ") +
                    L10n::format("%@/s", m_language, {TransferState::formatByteCount(qint64(rate), m_language)});
            const qint64 left = qint64((state.totalBytes - state.bytesSent) / rate + 0.5);
            line += QStringLiteral("  ") +
                    L10n::format("%@ left", m_language,
                                 {QStringLiteral("%1:%2").arg(left / 60).arg(left % 60, 2, 10, QLatin1Char('0'))});
        }
        return line;
    }

    AppLanguage m_language;
    StatusLine m_line;
    QElapsedTimer m_clock;
    QElapsedTimer m_redraw;
    int m_lastDecile = -1;
};

int send(CommandContext &ctx)
{
    const Invocation &call = ctx.invocation();
    if (!call.has(QStringLiteral("--machine")) || !call.has(QStringLiteral("--port"))) {
        return ctx.badInput(ctx.tr("send needs --machine ID|NAME and --port PATH."));
    }
    MachineStore store;
    QString problem;
    const std::optional<Machine> machine =
        findMachine(store.machines(), call.value(QStringLiteral("--machine")), &problem, ctx.language());
    if (!machine) {
        return ctx.badInput(problem);
    }
    const std::optional<QString> text = readProgramToSend(ctx, true);
    if (!text) {
        return ExitStatus::badInput;
    }
    const QString devicePath = call.value(QStringLiteral("--port"));
    const QString fileName =
        ctx.readsStandardInput(0) ? ctx.programName(0) : QFileInfo(call.positionals[0]).fileName();

    TransferState final;
    {
        TransferController controller;
        controller.setLanguage(ctx.language());
        ProgressPrinter progress(ctx.language());
        const SignalCancel interrupt([&] { controller.cancel(); });
        if (!interrupt.ok()) {
            return ctx.badInput(QString::fromLocal8Bit(std::strerror(errno)));
        }
        QObject::connect(&controller, &TransferController::stateChanged, &controller,
                         [&](const TransferState &state) {
                             progress.update(state);
                             if (!state.isActive()) {
                                 QCoreApplication::quit();
                             }
                         });
        controller.send(*text, fileName, *machine, devicePath);
        if (controller.state().isActive()) {
            QCoreApplication::exec();
        }
        progress.finish();
        final = controller.state();
        // Leaving the scope joins the sender thread, which closes the port.
    }

    switch (final.status) {
    case TransferState::Status::success:
        CommandContext::writeOut((final.message + QLatin1Char('\n')).toUtf8());
        return ExitStatus::ok;
    case TransferState::Status::cancelled:
        CommandContext::writeOut((final.message + QLatin1Char('\n')).toUtf8());
        return ExitStatus::cancelled;
    default:
        CommandContext::writeErr(QStringLiteral("varn: ") + final.message);
        const QString hint = TransportError::accessHint(devicePath, ctx.language());
        if (!hint.isEmpty()) {
            CommandContext::writeErr(hint);
        }
        return ExitStatus::failed;
    }
}

} // namespace

int machinePayload(CommandContext &ctx)
{
    MachineStore store;
    QString problem;
    const std::optional<Machine> machine =
        findMachine(store.machines(), ctx.invocation().value(QStringLiteral("--machine")), &problem, ctx.language());
    if (!machine) {
        return ctx.badInput(problem);
    }
    const std::optional<QString> text = readProgramToSend(ctx, false);
    if (!text) {
        return ExitStatus::badInput;
    }
    const WirePayload payload = WireFormat::build(*text, *machine);
    // Standard output carries only the wire bytes; the warning goes beside them.
    if (payload.unencodable > 0) {
        CommandContext::writeErr(QStringLiteral("varn: ") +
                                 L10n::format("%@ characters have no code in EIA RS-244 and were left out.",
                                              ctx.language(), {QString::number(payload.unencodable)}));
    }
    CommandContext::writeOut(payload.bytes);
    return ExitStatus::ok;
}

QList<CommandSpec> serialCommands()
{
    return {
        {QStringLiteral("ports"), QStringLiteral("varn ports [--json]"),
         VARN_TR_KEY("List the serial ports a program can be sent to, USB adapters first."), {kJson}, 0, 0, &ports},
        {QStringLiteral("machines"), QStringLiteral("varn machines [--json]"),
         VARN_TR_KEY("List the stored machine profiles with their line settings."), {kJson}, 0, 0, &machines},
        {QStringLiteral("send"),
         QStringLiteral("varn send --machine ID|NAME --port PATH [--from-line N | --from-block N1234] [--lathe] "
                        "[FILE] [--lang en|es]"),
         VARN_TR_KEY("Send the program to a machine; Ctrl-C cancels."),
         QList<OptionSpec>{{QStringLiteral("--machine"), {}, true}, {QStringLiteral("--port"), {}, true}, encodingOption()} +
             restartOptions(),
         0, 1, &send},
    };
}
