#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

// Block-by-block comparison of two programs, shared by `varn diff` and the
// window's compare view so that both show the same differences.
//
// A block is one line without its line end (LF or CRLF: a program saved on
// another PC is not "all changed"). The inputs are UTF-8 bytes; the caller has
// checked them. Blocks are compared through a normal form chosen by the
// options; what is shown to the user is always the original text.
//
// The comparison finds a shortest edit script with the linear-space
// divide-and-conquer form of the O(ND) algorithm, so two 100 MB programs that
// differ in a few hundred blocks cost a few passes over their blocks and
// memory in proportion to the number of blocks, never to their product. Each
// block is hashed once through its normal form; two blocks are equal when their
// hashes match and their texts (or normal forms) really do, so a hash collision
// can never hide a change.
//
// Pure functions: values in, values out; safe on any thread.
class ProgramDiff {
public:
    struct Options {
        // Numbers are equal when their values are: "X1." = "X1.0" = "X01" = "X+1".
        bool numeric = false;
        // Numbers within this distance are equal; above 0 it implies `numeric`.
        double tolerance = 0;
        // The block number at the start of a block ("N120") is not compared.
        bool ignoreN = false;
        // Comments, blanks and blocks left empty by them are not compared.
        bool ignoreComments = false;

        bool operator==(const Options &) const = default;
    };

    // One stretch of the two programs, in order; together the segments cover
    // both programs from the first line to the last. Lines are 0-based.
    struct Segment {
        enum class Kind {
            same,    // aCount == bCount, the blocks equal pairwise under the options
            changed, // a difference: removed (bCount 0), added (aCount 0) or replaced
            ignored, // differs only in what the options ignore (blank or comment-only blocks)
        };
        Kind kind = Kind::same;
        qsizetype a = 0;
        qsizetype aCount = 0;
        qsizetype b = 0;
        qsizetype bCount = 0;

        bool operator==(const Segment &) const = default;
    };

    struct Result {
        QList<Segment> segments;
        qsizetype linesA = 0;
        qsizetype linesB = 0;

        bool equal() const;
        // The differences alone, in order.
        QList<Segment> hunks() const;
        // The line of the other program that faces `line` of one side (linked
        // scrolling): the same offset inside a `same` segment, the start of the
        // facing stretch otherwise.
        qsizetype facingLine(qsizetype line, bool fromA) const;
    };

    static Result compare(QByteArrayView a, QByteArrayView b, const Options &options);

    // `diff -u` style text: "---"/"+++" headers with the names, "@@" hunks with
    // `context` equal blocks around each difference, original lines. Empty
    // when the programs are equal.
    static QByteArray unified(QByteArrayView a, QByteArrayView b, const Result &result, const QString &nameA,
                              const QString &nameB, int context = 3);

    // The normal form of one block under `options` (numbers written as their
    // shortest decimal; with a tolerance, as "#" followed by nothing), for the
    // tests and for anyone who wants to show why two blocks count as equal.
    static QByteArray normalForm(QByteArrayView block, const Options &options);
};
