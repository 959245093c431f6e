// `varn receive`: takes one program from a machine, as the window's Receive does.
#include "commands.h"
#include "consoleline.h"

#include "machines/machinestore.h"
#include "transfer/receivecontroller.h"
#include "transport/transporterror.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>

namespace {

// One status line, redrawn on a terminal and written only when its words
// change otherwise.
class ReceiveProgress {
public:
    explicit ReceiveProgress(AppLanguage language) : m_language(language) {}

    void update(const ReceiveState &state)
    {
        QString line = ReceiveState::label(state.status, m_language);
        if (state.status == ReceiveState::Status::receiving) {
            line += QStringLiteral("  ") + state.summary(m_language);
        }
        m_line.show(line, state.status != m_lastStatus);
        m_lastStatus = state.status;
    }
    void finish() { m_line.finish(); }

private:
    AppLanguage m_language;
    StatusLine m_line;
    std::optional<ReceiveState::Status> m_lastStatus;
};

int receive(CommandContext &ctx)
{
    const Invocation &call = ctx.invocation();
    if (!call.has(QStringLiteral("--machine")) || !call.has(QStringLiteral("--port"))) {
        return ctx.badInput(ctx.tr("receive needs --machine ID|NAME and --port PATH."));
    }
    ReceiveController::Request request;
    request.devicePath = call.value(QStringLiteral("--port"));
    if (call.has(QStringLiteral("--idle"))) {
        qint64 seconds = 0;
        if (!parseInteger(call.value(QStringLiteral("--idle")), &seconds) || seconds < 1 || seconds > 3600) {
            return ctx.badInput(ctx.tr("--idle takes whole seconds from 1 to 3600."));
        }
        request.idleTimeout = std::chrono::seconds(seconds);
    }
    MachineStore store;
    QString problem;
    const std::optional<Machine> machine =
        findMachine(store.machines(), call.value(QStringLiteral("--machine")), &problem, ctx.language());
    if (!machine) {
        return ctx.badInput(problem);
    }
    request.machine = *machine;
    const QString output = call.value(QStringLiteral("--output"));

    ReceiveState final;
    std::shared_ptr<const ReceivedProgram> program;
    {
        ReceiveController controller;
        controller.setLanguage(ctx.language());
        ReceiveProgress progress(ctx.language());
        const SignalCancel interrupt([&] { controller.cancel(); });
        if (!interrupt.ok()) {
            return ctx.badInput(QString::fromLocal8Bit(std::strerror(errno)));
        }
        QObject::connect(&controller, &ReceiveController::programReceived, &controller,
                         [&](std::shared_ptr<const ReceivedProgram> received, const QString &) {
                             program = std::move(received);
                         });
        QObject::connect(&controller, &ReceiveController::stateChanged, &controller,
                         [&](const ReceiveState &state) {
                             progress.update(state);
                             if (!state.isActive()) {
                                 QCoreApplication::quit();
                             }
                         });
        controller.receive(request);
        if (controller.state().isActive()) {
            QCoreApplication::exec();
        }
        progress.finish();
        final = controller.state();
    }

    // A program cut short by a lost line is still written: it is all there is.
    if (program) {
        if (output.isEmpty() || output == QLatin1String("-")) {
            CommandContext::writeOut(program->text.toUtf8());
        } else {
            const QFileInfo info(output);
            QString error = ReceivedProgram::writeFile(output, program->text.toUtf8());
            if (error.isEmpty()) {
                error = ReceivedProgram::writeFile(
                    info.dir().filePath(info.completeBaseName() + QStringLiteral(".raw")), program->raw);
            }
            if (!error.isEmpty()) {
                CommandContext::writeErr(QStringLiteral("varn: ") +
                                         L10n::format("Could not write %@: %@", ctx.language(), {output, error}));
                return ExitStatus::failed;
            }
        }
        ReceiveState shown = final;
        shown.bytes = program->raw.size();
        shown.errors = program->errorOffsets.size();
        shown.elapsedMs = program->elapsedMs;
        CommandContext::writeErr(L10n::format("Received %@ (%@)", ctx.language(),
                                              {program->documentName(ctx.language()), shown.summary(ctx.language())}));
        for (const int line : program->errorLines) {
            CommandContext::writeErr(
                L10n::format("Line %@: parity or framing error", ctx.language(), {QString::number(line + 1)}));
        }
    }

    switch (final.status) {
    case ReceiveState::Status::received:
        return ExitStatus::ok;
    case ReceiveState::Status::cancelled:
        CommandContext::writeErr(final.message);
        return ExitStatus::cancelled;
    default:
        CommandContext::writeErr(QStringLiteral("varn: ") + final.message);
        const QString hint = TransportError::accessHint(request.devicePath, ctx.language());
        if (!hint.isEmpty()) {
            CommandContext::writeErr(hint);
        }
        return ExitStatus::failed;
    }
}

} // namespace

QList<CommandSpec> receiveCommands()
{
    return {
        {QStringLiteral("receive"),
         QStringLiteral("varn receive --machine ID|NAME --port PATH [-o FILE] [--idle SECONDS] [--lang en|es]"),
         VARN_TR_KEY("Wait for a machine to send a program and write it to FILE (with FILE.raw beside it) or "
                     "standard output; Ctrl-C cancels."),
         {{QStringLiteral("--machine"), {}, true},
          {QStringLiteral("--port"), {}, true},
          {QStringLiteral("--output"), QStringLiteral("-o"), true},
          {QStringLiteral("--idle"), {}, true}},
         0,
         0,
         &receive},
    };
}
