#pragma once

#include "base/encodingguess.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

// Which code page to read a file in that is not UTF-8. The texts come in
// translated; `encodings` holds the candidates likeliest first (the first is
// the proposed answer), and `sample` the file's lines with non-ASCII bytes, so
// the dialog can show them as each candidate reads them while the user chooses.
struct EncodingQuestion {
    QString title;
    QString message;
    QString applyLabel;
    QString cancelLabel;
    QList<TextEncoding> encodings;
    EncodingSample sample;
};

// Everything the model asks of the user goes through here, so the commands run
// the same under the window (Qt dialogs) and under tests (a scripted fake).
// Every call is modal: it returns once the user has answered. The texts come
// in already translated.
class Dialogs {
public:
    virtual ~Dialogs() = default;

    // An open panel for existing files, several at once, starting in
    // `startFolder` (empty: the panel's own choice). Empty when cancelled.
    virtual QList<QUrl> chooseFiles(const QString &message, const QUrl &startFolder) = 0;
    // An open panel for folders only, several at once. Empty when cancelled.
    virtual QList<QUrl> chooseFolders(const QString &message) = 0;
    // A save panel that may create folders, with `fileName` in its name field.
    // None when cancelled.
    virtual std::optional<QUrl> chooseSaveLocation(const QString &fileName, const QUrl &startFolder) = 0;
    // A modal prompt with one text field holding `defaultText` and the buttons
    // `applyLabel` and `cancelLabel`. The text as entered, or none on cancel.
    virtual std::optional<QString> prompt(const QString &title, const QString &message, const QString &defaultText,
                                          const QString &applyLabel, const QString &cancelLabel) = 0;
    // The encoding chosen, or none on cancel.
    virtual std::optional<TextEncoding> chooseEncoding(const EncodingQuestion &question) = 0;
    // Shows `url` in the desktop's file manager.
    virtual void reveal(const QUrl &url) = 0;
    virtual void beep() = 0;
};
