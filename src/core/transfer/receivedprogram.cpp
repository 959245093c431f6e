#include "receivedprogram.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

bool keptInText(unsigned char c)
{
    return (c >= 0x20 && c != 0x7F) || c == '\t';
}

} // namespace

ReceivedProgram ReceivedProgram::make(QByteArray raw, QList<qsizetype> errorOffsets, qsizetype start)
{
    ReceivedProgram program;
    program.raw = std::move(raw);
    program.errorOffsets = std::move(errorOffsets);
    program.start = std::clamp<qsizetype>(start, 0, program.raw.size());

    const char *data = program.raw.constData();
    const qsizetype size = program.raw.size();
    // A machine that ends lines with LF (alone or next to CRs) gets every CR
    // dropped; one that never sends LF ends its lines with CR.
    const bool hasLineFeed = std::memchr(data + program.start, '\n', size_t(size - program.start)) != nullptr;
    const char lineBreak = hasLineFeed ? '\n' : '\r';

    QString text(size - program.start + 1, Qt::Uninitialized);
    char16_t *out = reinterpret_cast<char16_t *>(text.data());
    qsizetype written = 0;
    int line = 0;
    qsizetype nextError = 0;
    const qsizetype errorCount = program.errorOffsets.size();
    // Errors in the leader belong to the first line.
    while (nextError < errorCount && program.errorOffsets[nextError] < program.start) {
        if (program.errorLines.isEmpty()) {
            program.errorLines.append(0);
        }
        ++nextError;
    }
    // What each byte becomes and whether it stays: a 100 MB program goes
    // through here once, without a branch per character.
    std::array<char16_t, 256> as{};
    std::array<unsigned char, 256> kept{};
    for (int c = 0; c < 256; ++c) {
        const bool breaks = c == static_cast<unsigned char>(lineBreak);
        as[c] = breaks ? u'\n' : char16_t(c);
        kept[c] = breaks || keptInText(static_cast<unsigned char>(c)) ? 1 : 0;
    }
    const auto *bytes = reinterpret_cast<const unsigned char *>(data);
    if (nextError == errorCount) {
        for (qsizetype i = program.start; i < size; ++i) {
            out[written] = as[bytes[i]];
            written += kept[bytes[i]];
        }
    }
    for (qsizetype i = program.start; i < size && nextError < errorCount; ++i) {
        const unsigned char c = bytes[i];
        while (nextError < errorCount && program.errorOffsets[nextError] <= i) {
            if (program.errorOffsets[nextError] == i &&
                (program.errorLines.isEmpty() || program.errorLines.last() != line)) {
                program.errorLines.append(line);
            }
            ++nextError;
        }
        out[written] = as[c];
        written += kept[c];
        line += c == static_cast<unsigned char>(lineBreak) ? 1 : 0;
        if (nextError == errorCount) {
            // Past the last error only the text is left to make.
            for (++i; i < size; ++i) {
                out[written] = as[bytes[i]];
                written += kept[bytes[i]];
            }
        }
    }
    if (written > 0 && out[written - 1] != u'\n') {
        out[written++] = u'\n';
    }
    text.resize(written);
    program.text = std::move(text);
    return program;
}

QString ReceivedProgram::programNumber(const QString &text)
{
    static const QRegularExpression oWord(QStringLiteral("^[ \\t]*(?:[Nn]\\d+[ \\t]*)?([Oo:])[ \\t]*(\\d{1,8})"),
                                          QRegularExpression::MultilineOption);
    // The number heads the program: only its first lines are looked at, so a
    // subprogram further down never names it.
    constexpr int linesLooked = 8;
    qsizetype end = -1;
    for (int i = 0; i < linesLooked; ++i) {
        end = text.indexOf(QLatin1Char('\n'), end + 1);
        if (end < 0) {
            break;
        }
    }
    const QStringView head = end < 0 ? QStringView(text) : QStringView(text).left(end);
    const QRegularExpressionMatch match = oWord.match(head);
    if (!match.hasMatch()) {
        return {};
    }
    return QLatin1Char('O') + match.captured(2);
}

QString ReceivedProgram::documentName(AppLanguage language) const
{
    const QString number = programNumber(text);
    if (!number.isEmpty()) {
        return number;
    }
    const QDateTime when = receivedAt.isValid() ? receivedAt : QDateTime::currentDateTime();
    return L10n::format("Received %@", language, {when.toString(QStringLiteral("HH.mm.ss"))});
}

QString ReceivedProgram::freePath(const QString &folder, const QString &base, const QString &extension)
{
    const QDir dir(folder);
    for (int n = 1;; ++n) {
        const QString stem = n == 1 ? base : base + QLatin1Char('-') + QString::number(n);
        const QString path = dir.filePath(stem + QLatin1Char('.') + extension);
        if (!QFileInfo::exists(path) && !QFileInfo::exists(dir.filePath(stem + QStringLiteral(".raw")))) {
            return path;
        }
    }
}

QString ReceivedProgram::writeFile(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.commit()) {
        return file.errorString();
    }
    return {};
}

QString ReceivedProgram::saveInto(const QString &folder, AppLanguage language, QString *error) const
{
    const QString path = freePath(folder, documentName(language), QStringLiteral("nc"));
    QString problem = writeFile(path, text.toUtf8());
    if (problem.isEmpty()) {
        const QFileInfo info(path);
        problem = writeFile(info.dir().filePath(info.completeBaseName() + QStringLiteral(".raw")), raw);
    }
    if (!problem.isEmpty()) {
        if (error) {
            *error = problem;
        }
        return {};
    }
    return path;
}
