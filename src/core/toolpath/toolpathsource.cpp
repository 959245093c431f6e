#include "toolpathsource.h"

#include <cmath>

namespace {

// "O10", "o 10", ":10" at the start of a line (after blanks and a block
// delete): the number of the program that starts there.
std::optional<long long> programHeader(QStringView line)
{
    qsizetype i = 0;
    const auto skipBlanks = [&] {
        while (i < line.size() && (line[i] == u' ' || line[i] == u'\t'))
            ++i;
    };
    skipBlanks();
    if (i >= line.size())
        return std::nullopt;
    const char16_t lead = line[i].unicode();
    if (lead != u'O' && lead != u'o' && lead != u':')
        return std::nullopt;
    ++i;
    skipBlanks();
    long long number = 0;
    qsizetype digits = 0;
    while (i < line.size() && line[i] >= u'0' && line[i] <= u'9' && digits < 12) {
        number = number * 10 + (line[i].unicode() - u'0');
        ++i;
        ++digits;
    }
    if (digits == 0)
        return std::nullopt;
    return number;
}

// The block number at the start of a line, if it has one.
std::optional<double> blockNumber(QStringView line)
{
    qsizetype i = 0;
    while (i < line.size() && (line[i] == u' ' || line[i] == u'\t' || line[i] == u'/'))
        ++i;
    if (i >= line.size() || (line[i] != u'N' && line[i] != u'n'))
        return std::nullopt;
    ++i;
    while (i < line.size() && (line[i] == u' ' || line[i] == u'\t'))
        ++i;
    double number = 0;
    qsizetype digits = 0;
    while (i < line.size() && line[i] >= u'0' && line[i] <= u'9') {
        number = number * 10 + (line[i].unicode() - u'0');
        ++i;
        ++digits;
    }
    if (digits == 0)
        return std::nullopt;
    return number;
}

} // namespace

void ToolpathSource::indexPrograms()
{
    m_indexed = true;
    // Headers only: a file of a million programs would be odd, but it must not
    // cost more than this table.
    constexpr std::size_t kMaxPrograms = 200000;
    scanAll([&](const Place &place, const QString &line) {
        if (const std::optional<long long> number = programHeader(line))
            m_programs.emplace_back(*number, place);
        return m_programs.size() < kMaxPrograms;
    });
}

std::optional<ToolpathSource::Place> ToolpathSource::programStart(long long number)
{
    if (!m_indexed)
        indexPrograms();
    for (const auto &[found, place] : m_programs) {
        if (found == number)
            return place;
    }
    return std::nullopt;
}

std::optional<ToolpathSource::Place> ToolpathSource::findBlock(int nearLine, double number)
{
    if (!m_indexed)
        indexPrograms();
    // Block numbers repeat from one program to the next: look in the program
    // that holds `nearLine` first.
    Place from;
    int until = 0; // the next program's first line, 0 for none
    for (const auto &[found, place] : m_programs) {
        if (place.line <= nearLine) {
            from = place;
        } else {
            until = place.line;
            break;
        }
    }
    QString line;
    for (int pass = 0; pass < 2; ++pass) {
        Place place = pass == 0 ? from : Place{};
        while (true) {
            const Place at = place;
            if (!readLine(place, line) || (pass == 0 && until > 0 && at.line >= until))
                break;
            const std::optional<double> n = blockNumber(line);
            if (n && std::abs(*n - number) < 1e-9)
                return at;
        }
    }
    return std::nullopt;
}

bool TextToolpathSource::readLine(Place &place, QString &line)
{
    const qint64 size = m_text.size();
    if (place.offset > size)
        return false;
    const char16_t *begin = reinterpret_cast<const char16_t *>(m_text.utf16());
    qint64 end = place.offset;
    while (end < size && begin[end] != u'\n' && begin[end] != u'\r')
        ++end;
    line = m_text.sliced(place.offset, end - place.offset).toString();
    qint64 next = size + 1; // the last line has no break: nothing follows it
    if (end < size)
        next = end + ((begin[end] == u'\r' && end + 1 < size && begin[end + 1] == u'\n') ? 2 : 1);
    place = {next, place.line + 1};
    return true;
}

FileToolpathSource::FileToolpathSource(const QString &path) : m_file(path)
{
    m_file.open(QIODevice::ReadOnly);
}

bool FileToolpathSource::fill(qint64 offset)
{
    constexpr qint64 kWindow = 256 * 1024;
    if (!m_file.isOpen() || !m_file.seek(offset))
        return false;
    m_window = m_file.read(kWindow);
    m_windowStart = offset;
    m_windowAtEnd = m_window.size() < kWindow;
    return true;
}

bool FileToolpathSource::readLine(Place &place, QString &line)
{
    const qint64 size = m_file.size();
    qint64 offset = place.offset;
    if (!m_file.isOpen() || offset > size)
        return false;
    if (offset == 0) {
        // A byte order mark is no part of the first line.
        if (m_windowStart != 0)
            fill(0);
        if (m_window.startsWith("\xEF\xBB\xBF"))
            offset = 3;
    }
    while (true) {
        if (offset < m_windowStart || offset > m_windowStart + m_window.size())
            fill(offset);
        const char *data = m_window.constData();
        const qint64 from = offset - m_windowStart;
        qint64 end = from;
        while (end < m_window.size() && data[end] != '\n' && data[end] != '\r')
            ++end;
        const bool cut = end == m_window.size() || (data[end] == '\r' && end + 1 == m_window.size());
        if (cut && !m_windowAtEnd) {
            if (m_windowStart == offset)
                break; // a line longer than the window
            fill(offset);
            continue;
        }
        line = QString::fromUtf8(data + from, end - from);
        qint64 next = size + 1;
        if (end < m_window.size())
            next = m_windowStart + end + ((data[end] == '\r' && end + 1 < m_window.size() && data[end + 1] == '\n') ? 2 : 1);
        place = {next, place.line + 1};
        return true;
    }
    // Only a line longer than the window comes here: read it whole.
    m_file.seek(offset);
    QByteArray bytes;
    char c = 0;
    bool broke = false;
    while (m_file.getChar(&c)) {
        if (c == '\n' || c == '\r') {
            broke = true;
            break;
        }
        bytes.append(c);
    }
    if (broke && c == '\r' && m_file.getChar(&c) && c != '\n')
        m_file.ungetChar(c);
    line = QString::fromUtf8(bytes);
    place = {broke ? m_file.pos() : size + 1, place.line + 1};
    m_window.clear();
    m_windowStart = -1;
    return true;
}
