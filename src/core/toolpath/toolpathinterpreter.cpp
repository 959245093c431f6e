#include "toolpathinterpreter.h"

#include "toolpathengine.h"
#include "toolpathsource.h"

namespace {

bool isLineBreak(char16_t c)
{
    return c == u'\n' || c == u'\r';
}

} // namespace

ToolpathSummary ToolpathInterpreter::interpret(QStringView program, const ToolpathOptions &options,
                                               AppLanguage language, ToolpathStore *store,
                                               const std::function<bool()> &isCancelled)
{
    TextToolpathSource source(program);
    Session session(options, language, &source, store, isCancelled);
    session.feed(program);
    return session.finish();
}

ToolpathInterpreter::Session::Session(const ToolpathOptions &options, AppLanguage language, ToolpathSource *source,
                                      ToolpathStore *store, std::function<bool()> isCancelled)
    : m_engine(std::make_unique<ToolpathEngine>(options, language, source, store, std::move(isCancelled)))
{
}

ToolpathInterpreter::Session::~Session() = default;

bool ToolpathInterpreter::Session::feed(QStringView text)
{
    if (m_engine->ended())
        return false;
    const auto *p = reinterpret_cast<const char16_t *>(text.utf16());
    const char16_t *const end = p + text.size();
    if (m_afterCr && p < end) {
        // The last piece ended with "\r": a "\n" here belongs to that break.
        m_afterCr = false;
        if (*p == u'\n')
            ++p;
    }
    while (p < end) {
        const char16_t *lineEnd = p;
        while (lineEnd < end && !isLineBreak(*lineEnd))
            ++lineEnd;
        if (lineEnd == end) {
            m_partialLine.append(QStringView(p, end - p));
            return true;
        }
        bool more = true;
        if (!m_partialLine.isEmpty()) {
            m_partialLine.append(QStringView(p, lineEnd - p));
            more = m_engine->mainLine(m_partialLine);
            m_partialLine.clear();
        } else {
            more = m_engine->mainLine(QStringView(p, lineEnd - p));
        }
        if (!more)
            return false;
        p = lineEnd + 1;
        if (*lineEnd == u'\r') {
            if (p < end && *p == u'\n')
                ++p;
            else if (p == end)
                m_afterCr = true;
        }
    }
    return true;
}

ToolpathSummary ToolpathInterpreter::Session::finish()
{
    if (!m_engine->ended())
        m_engine->mainLine(m_partialLine);
    m_partialLine.clear();
    return m_engine->finish();
}

ToolpathModalState ToolpathInterpreter::Session::modalState() const
{
    return m_engine->modalState();
}
