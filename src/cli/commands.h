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
