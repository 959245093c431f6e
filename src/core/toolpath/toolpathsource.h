#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringView>

#include <optional>
#include <utility>
#include <vector>

// Random access to the lines of a program, for the jumps a forward stream
// cannot make: a subprogram called before it is defined (M98 P10 with O0010
// after the M30), and the contour blocks of a turning cycle (G70 P Q). Lines
// are found by their place: the offset of their first character (characters
// for a text, bytes for a file) and their 1-based number.
//
// The table of program starts ("O10", ":10") is built on the first question
// and holds one entry per program, so even a file far larger than memory costs
// only its program headers.
class ToolpathSource {
public:
    struct Place {
        qint64 offset = 0;
        int line = 1;
    };

    virtual ~ToolpathSource() = default;

    // Where program `number` starts (its O line), if the program holds it.
    std::optional<Place> programStart(long long number);
    // The first line of the program around `nearLine` (or, failing that, of
    // the whole text) whose block number is `blockNumber`.
    std::optional<Place> findBlock(int nearLine, double blockNumber);
    // The line at `place`, without its line break; `place` moves to the next
    // line. False past the end.
    virtual bool readLine(Place &place, QString &line) = 0;

protected:
    // Calls `visit(place, line)` for every line from the start until it returns false.
    template <class Visit> void scanAll(Visit visit)
    {
        Place place;
        QString line;
        Place at = place;
        while (readLine(place, line)) {
            if (!visit(at, line))
                return;
            at = place;
        }
    }

private:
    void indexPrograms();
    bool m_indexed = false;
    std::vector<std::pair<long long, Place>> m_programs; // (number, O line), in file order
};

// A program held in memory; the view must outlive the source.
class TextToolpathSource : public ToolpathSource {
public:
    explicit TextToolpathSource(QStringView text) : m_text(text) {}
    bool readLine(Place &place, QString &line) override;

private:
    QStringView m_text;
};

// A program file read as UTF-8 through a window of a few hundred kilobytes,
// so a subprogram that runs a thousand times reads the disk once.
class FileToolpathSource : public ToolpathSource {
public:
    explicit FileToolpathSource(const QString &path);
    bool readLine(Place &place, QString &line) override;

private:
    bool fill(qint64 offset);

    QFile m_file;
    QByteArray m_window;
    qint64 m_windowStart = -1; // nothing read yet
    bool m_windowAtEnd = false;
};
