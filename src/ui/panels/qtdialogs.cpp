#include "qtdialogs.h"

#include "encodingdialog.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QListView>
#include <QTreeView>

QList<QUrl> QtDialogs::chooseFiles(const QString &message, const QUrl &startFolder)
{
    const QStringList paths = QFileDialog::getOpenFileNames(m_parent, message, startFolder.toLocalFile());
    QList<QUrl> urls;
    for (const QString &path : paths) {
        urls.append(QUrl::fromLocalFile(path));
    }
    return urls;
}

QList<QUrl> QtDialogs::chooseFolders(const QString &message)
{
    // The desktop's folder chooser takes one folder; Qt's own dialog, with its
    // views switched to multiple selection, takes several at once.
    QFileDialog dialog(m_parent, message);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    for (QAbstractItemView *view : dialog.findChildren<QAbstractItemView *>()) {
        if (qobject_cast<QListView *>(view) || qobject_cast<QTreeView *>(view)) {
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
        }
    }
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    return dialog.selectedUrls();
}

std::optional<QUrl> QtDialogs::chooseSaveLocation(const QString &fileName, const QUrl &startFolder)
{
    const QString start = startFolder.isLocalFile() ? QDir(startFolder.toLocalFile()).filePath(fileName) : fileName;
    const QString path = QFileDialog::getSaveFileName(m_parent, QString(), start);
    if (path.isEmpty()) {
        return std::nullopt;
    }
    return QUrl::fromLocalFile(path);
}

std::optional<QString> QtDialogs::prompt(const QString &title, const QString &message, const QString &defaultText,
                                         const QString &applyLabel, const QString &cancelLabel)
{
    QInputDialog dialog(m_parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(message);
    dialog.setTextValue(defaultText);
    dialog.setOkButtonText(applyLabel);
    dialog.setCancelButtonText(cancelLabel);
    dialog.setInputMode(QInputDialog::TextInput);
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return dialog.textValue();
}

std::optional<TextEncoding> QtDialogs::chooseEncoding(const EncodingQuestion &question)
{
    EncodingDialog dialog(question, m_parent);
    if (dialog.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return dialog.chosen();
}

void QtDialogs::reveal(const QUrl &url)
{
    // File managers differ in how they select a file; opening the folder that
    // holds it works with every one of them.
    const QFileInfo info(url.toLocalFile());
    const QString folder = info.isDir() ? info.absoluteFilePath() : info.absolutePath();
    QDir().mkpath(folder);
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

void QtDialogs::beep()
{
    QApplication::beep();
}
