#pragma once

#include "commandline.h"

// The command tables of `varn`, one per area.
QList<CommandSpec> textCommands();
QList<CommandSpec> serialCommands();
QList<CommandSpec> toolpathCommands();
QList<CommandSpec> plotCommands();
