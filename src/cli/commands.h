#pragma once

#include "commandline.h"

// The command tables of `varn`, one per area.
QList<CommandSpec> textCommands();
QList<CommandSpec> serialCommands();

// `varn payload --machine M [FILE]`: the bytes the stored profile puts on the
// wire, tape framing and character code included.
int machinePayload(CommandContext &ctx);
