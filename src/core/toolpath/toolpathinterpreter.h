#pragma once

#include "toolpathmodalstate.h"
#include "toolpathsummary.h"
#include "base/l10n.h"

#include <QString>
#include <QStringView>

#include <functional>
#include <memory>

class ToolpathSource;
class ToolpathStore;
class ToolpathEngine;

// Turns a program into the path the tool travels: every move with its kind,
// line and tool goes to an optional ToolpathStore for drawing, and the
// lengths, bounds, tools and warnings into a ToolpathSummary.
//
// Nothing fails: a word or an expression that cannot be read warns with its
// line and its block is skipped; what the interpreter does not follow
// (scaling, rotation, macro calls, program flow) warns where it starts. The
// path never continues past something that would make it wrong without a
// warning saying so.
//
// `isCancelled` is asked at the first line and then every 512 lines; when it
// answers true the interpretation stops there and the summary comes back with
// `cancelled` set: the caller drops it (and the store, which is incomplete).
class ToolpathInterpreter {
public:
    // Interprets a whole program held in memory; `store` may be null (summary only).
    static ToolpathSummary interpret(QStringView program, const ToolpathOptions &options, AppLanguage language,
                                     ToolpathStore *store = nullptr, const std::function<bool()> &isCancelled = {});

    // The same interpretation over a program that arrives in pieces, so a
    // file far larger than memory is read a block at a time. `source` answers
    // the jumps a stream cannot make (a subprogram defined after its call) and
    // must hold the same text that is fed; without one, calls warn that their
    // program is not found. Pieces may end anywhere, even inside a line.
    class Session {
    public:
        Session(const ToolpathOptions &options, AppLanguage language, ToolpathSource *source = nullptr,
                ToolpathStore *store = nullptr, std::function<bool()> isCancelled = {});
        ~Session();
        Session(const Session &) = delete;
        Session &operator=(const Session &) = delete;

        // Reads the lines `text` completes; false once interpretation has
        // ended (program end, flow, cancel): later pieces change nothing.
        bool feed(QStringView text);
        // Reads the last line and hands over the summary; the session is spent afterwards.
        ToolpathSummary finish();
        // The modes in force after the lines read so far; with
        // `stopBeforeLine`, those the program has set when it reaches that line.
        ToolpathModalState modalState() const;

    private:
        std::unique_ptr<ToolpathEngine> m_engine;
        QString m_partialLine;
        bool m_afterCr = false;
    };
};
