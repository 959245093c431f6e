#pragma once

#include <QStringView>

// Whether a program reads as a lathe program: a G70–G73 finishing or roughing
// cycle with P and Q, or a tool written the lathe way (T0101: tool and offset).
// Only the first megabyte is read; a lathe program shows its habits early.
namespace ToolpathTurning {
bool looksLikeTurning(QStringView program);
}
