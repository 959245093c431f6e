#pragma once

#include "commandline.h"
#include "machines/machine.h"

// The command tables of `varn`, one per area.
QList<CommandSpec> textCommands();
QList<CommandSpec> serialCommands();
QList<CommandSpec> receiveCommands();

// The machine profile named by `wanted` (id, name, or name in any case); empty
// with `problem` set when none or several match.
std::optional<Machine> findMachine(const QList<Machine> &list, const QString &wanted, QString *problem,
                                   AppLanguage language);

// `varn payload --machine M [FILE]`: the bytes the stored profile puts on the
// wire, tape framing and character code included.
int machinePayload(CommandContext &ctx);
QList<CommandSpec> diffCommands();
QList<CommandSpec> toolpathCommands();
QList<CommandSpec> plotCommands();

// --from-line N, --from-block N1234 and --lathe: send or show a program from one
// of its lines, after a preamble that sets the modes the earlier lines left.
QList<OptionSpec> restartOptions();
// FILE as it goes out: the program itself without those options; with them
// its restart text, the preamble shown first (on standard output when
// `preambleToOut`, else on standard error). None, already reported, when the
// program cannot be read or no restart can be made.
std::optional<QString> readProgramToSend(const CommandContext &ctx, bool preambleToOut);
