#pragma once

#include "workspace/dialogs.h"

#include <QPointer>
#include <QWidget>

// The model's questions as the desktop asks them: Qt's file dialogs, a text
// prompt with the model's own button labels, the encoding chooser with its
// preview, the file manager for "reveal"
// and the system beep. Every dialog is modal to `parent`.
class QtDialogs : public Dialogs {
public:
    explicit QtDialogs(QWidget *parent = nullptr) : m_parent(parent) {}

    void setParent(QWidget *parent) { m_parent = parent; }

    QList<QUrl> chooseFiles(const QString &message, const QUrl &startFolder) override;
    QList<QUrl> chooseFolders(const QString &message) override;
    std::optional<QUrl> chooseSaveLocation(const QString &fileName, const QUrl &startFolder) override;
    std::optional<QString> prompt(const QString &title, const QString &message, const QString &defaultText,
                                  const QString &applyLabel, const QString &cancelLabel) override;
    std::optional<TextEncoding> chooseEncoding(const EncodingQuestion &question) override;
    void reveal(const QUrl &url) override;
    void beep() override;

private:
    QPointer<QWidget> m_parent;
};
