#pragma once

// Plays the user for the model's commands: answers come from queues the test
// fills (an empty queue answers "cancel"), and every question is recorded
// with its exact texts, one line each: "files|message|/start", "folders|message",
// "save|name|/start", "prompt|title|message|default|apply|cancel", "reveal|/path",
// "encoding|title|message|CP850,Windows-1252,…". The last encoding question is kept whole.
#include "workspace/dialogs.h"

#include <QList>
#include <QStringList>

class FakeDialogs : public Dialogs {
public:
    QList<QList<QUrl>> fileAnswers, folderAnswers;
    QList<std::optional<QUrl>> saveAnswers;
    QList<std::optional<QString>> promptAnswers;
    QList<std::optional<TextEncoding>> encodingAnswers;
    EncodingQuestion lastEncodingQuestion;
    QStringList asked;
    int beeps = 0;

    QList<QUrl> chooseFiles(const QString &message, const QUrl &startFolder) override
    {
        asked << "files|" + message + '|' + startFolder.toLocalFile();
        return fileAnswers.isEmpty() ? QList<QUrl>{} : fileAnswers.takeFirst();
    }
    QList<QUrl> chooseFolders(const QString &message) override
    {
        asked << "folders|" + message;
        return folderAnswers.isEmpty() ? QList<QUrl>{} : folderAnswers.takeFirst();
    }
    std::optional<QUrl> chooseSaveLocation(const QString &fileName, const QUrl &startFolder) override
    {
        asked << "save|" + fileName + '|' + startFolder.toLocalFile();
        return saveAnswers.isEmpty() ? std::nullopt : saveAnswers.takeFirst();
    }
    std::optional<QString> prompt(const QString &title, const QString &message, const QString &defaultText,
                                  const QString &applyLabel, const QString &cancelLabel) override
    {
        asked << QStringList{"prompt", title, message, defaultText, applyLabel, cancelLabel}.join('|');
        return promptAnswers.isEmpty() ? std::nullopt : promptAnswers.takeFirst();
    }
    std::optional<TextEncoding> chooseEncoding(const EncodingQuestion &question) override
    {
        QStringList names;
        for (const TextEncoding encoding : question.encodings) {
            names << TextEncodings::name(encoding);
        }
        asked << QStringList{"encoding", question.title, question.message, names.join(',')}.join('|');
        lastEncodingQuestion = question;
        return encodingAnswers.isEmpty() ? std::nullopt : encodingAnswers.takeFirst();
    }
    void reveal(const QUrl &url) override { asked << "reveal|" + url.toLocalFile(); }
    void beep() override { ++beeps; }
};
