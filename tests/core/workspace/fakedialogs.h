#pragma once

// Plays the user for the model's commands: answers come from queues the test
// fills, and every question asked is recorded with its exact texts. An empty
// queue answers "cancel".
#include "workspace/dialogs.h"

#include <QList>

class FakeDialogs : public Dialogs {
public:
    struct Panel {
        QString text; // the message, or the save panel's file name
        QUrl startFolder;
    };
    struct Prompt {
        QString title;
        QString message;
        QString defaultText;
        QString applyLabel;
        QString cancelLabel;
    };

    QList<QList<QUrl>> fileAnswers;
    QList<QList<QUrl>> folderAnswers;
    QList<std::optional<QUrl>> saveAnswers;
    QList<std::optional<QString>> promptAnswers;

    QList<Panel> filePanels;
    QList<Panel> folderPanels;
    QList<Panel> savePanels;
    QList<Prompt> prompts;
    QList<QUrl> revealed;
    int beeps = 0;

    QList<QUrl> chooseFiles(const QString &message, const QUrl &startFolder) override
    {
        filePanels.append({message, startFolder});
        return fileAnswers.isEmpty() ? QList<QUrl>{} : fileAnswers.takeFirst();
    }
    QList<QUrl> chooseFolders(const QString &message) override
    {
        folderPanels.append({message, {}});
        return folderAnswers.isEmpty() ? QList<QUrl>{} : folderAnswers.takeFirst();
    }
    std::optional<QUrl> chooseSaveLocation(const QString &fileName, const QUrl &startFolder) override
    {
        savePanels.append({fileName, startFolder});
        return saveAnswers.isEmpty() ? std::nullopt : saveAnswers.takeFirst();
    }
    std::optional<QString> prompt(const QString &title, const QString &message, const QString &defaultText,
                                  const QString &applyLabel, const QString &cancelLabel) override
    {
        prompts.append({title, message, defaultText, applyLabel, cancelLabel});
        return promptAnswers.isEmpty() ? std::nullopt : promptAnswers.takeFirst();
    }
    void reveal(const QUrl &url) override { revealed.append(url); }
    void beep() override { ++beeps; }
};
