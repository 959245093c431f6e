#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// The analysis of one program, as the inspector shows it. A plain value: the
// analyzer fills it in one pass and hands it to the main thread.
//
// Every entry carries a random id made when it was created, so two analyses of
// the same text never compare equal entry by entry; compare the other fields
// when the content is what matters.
struct ProgramAnalysis {
    struct ToolEntry {
        QUuid id;
        int line = 0;                   // 1-based
        QString tool;                   // the T word's number as written: "1", "01"
        std::optional<QString> comment; // the line's first comment
        bool operator==(const ToolEntry &) const = default;
    };

    struct CommentEntry {
        QUuid id;
        int line = 0;
        QString text;
        bool operator==(const CommentEntry &) const = default;
    };

    struct Warning {
        QUuid id;
        int line = 0;
        QString message; // already in the interface language
        bool operator==(const Warning &) const = default;
    };

    struct ValueRange {
        double min = 0;
        double max = 0;
        // The first value sets both ends; later ones only push them outwards.
        static void widen(std::optional<ValueRange> &range, double value)
        {
            if (!range) {
                range = ValueRange{value, value};
            } else if (value < range->min) {
                range->min = value;
            } else if (value > range->max) {
                range->max = value;
            }
        }
        bool operator==(const ValueRange &) const = default;
    };

    int lineCount = 0;
    std::optional<QString> programNumber; // "O0001"
    QString units = QStringLiteral("\u2014"); // an em dash until G20 or G21
    QList<ToolEntry> tools;
    QList<CommentEntry> comments;
    QList<Warning> warnings;
    std::optional<ValueRange> sRange;
    std::optional<ValueRange> fRange;
    std::optional<ValueRange> xRange;
    std::optional<ValueRange> yRange;
    std::optional<ValueRange> zRange;
    std::optional<double> estimatedSeconds; // absent when the total is not above 0

    // Set when the analysis stopped early because its task was cancelled; the
    // other fields are then incomplete and the caller throws the result away.
    bool cancelled = false;

    // "12:34" below an hour, "1:02:03" from an hour on; absent without an estimate.
    std::optional<QString> estimatedTimeText() const;

    bool operator==(const ProgramAnalysis &) const = default;
};
