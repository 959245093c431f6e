#pragma once

#include "base/l10n.h"

#include <QHash>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <unordered_set>

// One block of a program as words with values, the variables the program has
// set so far, and the expressions that compute values from them.
struct ToolpathBlock {
    enum class Kind : std::uint8_t {
        empty,      // blanks and comments only
        words,      // the words below
        assignment, // `#n = …` done: nothing else to carry out
        percent,    // a "%" line
        flow,       // GOTO/IF/WHILE or an O-word sub/call/if: not followed
        skipped,    // a malformed word or a failed expression, already warned
    };

    Kind kind = Kind::empty;
    std::uint32_t letters = 0; // bit n: letter 'A' + n has a value (G and M excepted)
    double value[26];          // valid where `letters` says so
    int g[12];                 // G codes times ten: G1 → 10, G54.1 → 541
    int gCount = 0;
    int m[8];
    int mCount = 0;
    int tDigits = 0; // digits written in the T word (a lathe T0101 names tool 1)

    bool has(char letter) const { return letters & (1u << (letter - 'A')); }
    double operator[](char letter) const { return value[letter - 'A']; }
    bool hasG(int code) const
    {
        for (int i = 0; i < gCount; ++i) {
            if (g[i] == code)
                return true;
        }
        return false;
    }
    bool hasM(int code) const
    {
        for (int i = 0; i < mCount; ++i) {
            if (m[i] == code)
                return true;
        }
        return false;
    }
};

// Reads blocks and carries the program's variables. Nothing throws: a word or
// an expression it cannot read warns through `warn` with its line and the
// block comes back `skipped`.
class ToolpathBlockReader {
public:
    using Warn = std::function<void(int line, const QString &message)>;
    ToolpathBlockReader(AppLanguage language, Warn warn) : m_language(language), m_warn(std::move(warn)) {}

    // Reads `line` (without its line break) into `block`.
    void read(QStringView line, int lineNumber, ToolpathBlock &block);

private:
    friend class ExpressionParser;
    enum class Failure { none, malformed, divisionByZero, domain };

    double readVariable(long long number, int line);
    double readNamed(const QString &name, int line);

    AppLanguage m_language;
    Warn m_warn;
    std::unordered_map<long long, double> m_numbered;
    QHash<QString, double> m_named;
    std::unordered_set<long long> m_warnedNumbered;
    QHash<QString, bool> m_warnedNamed;
};
