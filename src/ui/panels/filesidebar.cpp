#include "filesidebar.h"

#include "filetreemodel.h"

#include "compare/compareview.h"

#include "workspace/appmodel.h"
#include "workspace/dialogs.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSet>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <memory>

FileSidebar::FileSidebar(AppModel &model, QWidget *parent)
    : QWidget(parent), m_model(model), m_title(new QLabel(this)), m_addButton(new QToolButton(this)),
      m_pages(new QStackedWidget(this)), m_tree(new QTreeView(this)), m_treeModel(new FileTreeModel(this)),
      m_emptyText(new QLabel(this)), m_emptyAddButton(new QPushButton(this))
{
    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    titleFont.setCapitalization(QFont::AllUppercase);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 0.85);
    m_title->setFont(titleFont);
    m_title->setForegroundRole(QPalette::PlaceholderText);
    m_addButton->setText(QStringLiteral("+"));
    m_addButton->setAutoRaise(true);

    auto *header = new QHBoxLayout;
    header->setContentsMargins(10, 6, 4, 2);
    header->addWidget(m_title, 1);
    header->addWidget(m_addButton);

    m_tree->setModel(m_treeModel);
    m_tree->setHeaderHidden(true);
    m_tree->setUniformRowHeights(true);
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->setContextMenuPolicy(Qt::CustomContextMenu);
    m_tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tree->setExpandsOnDoubleClick(true);
    // Ctrl/Shift+click picks a second program to compare with the first.
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);

    // Shown while no folder is added: what the sidebar is for, and the way in.
    auto *empty = new QWidget(this);
    auto *emptyColumn = new QVBoxLayout(empty);
    m_emptyText->setWordWrap(true);
    m_emptyText->setAlignment(Qt::AlignCenter);
    m_emptyText->setForegroundRole(QPalette::PlaceholderText);
    emptyColumn->addStretch(1);
    emptyColumn->addWidget(m_emptyText);
    emptyColumn->addWidget(m_emptyAddButton, 0, Qt::AlignHCenter);
    emptyColumn->addStretch(2);

    m_pages->addWidget(m_tree);
    m_pages->addWidget(empty);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(header);
    column->addWidget(m_pages, 1);

    connect(m_addButton, &QToolButton::clicked, this, [this] { m_model.addFolders(); });
    connect(m_emptyAddButton, &QPushButton::clicked, this, [this] { m_model.addFolders(); });
    connect(m_tree, &QTreeView::clicked, this, &FileSidebar::openIndex);
    connect(m_tree, &QTreeView::activated, this, &FileSidebar::openIndex);
    connect(m_tree, &QTreeView::customContextMenuRequested, this, [this](const QPoint &at) {
        std::unique_ptr<QMenu> menu(contextMenu(m_tree->indexAt(at)));
        menu->exec(m_tree->viewport()->mapToGlobal(at));
    });
    connect(&m_model, &AppModel::fileTreeRootsChanged, this, &FileSidebar::rebuild);
    connect(&m_model, &AppModel::languageChanged, this, &FileSidebar::retranslate);

    rebuild();
    retranslate();
}

void FileSidebar::retranslate()
{
    const AppLanguage language = m_model.language();
    m_title->setText(L10n::text("Explorer", language));
    m_addButton->setToolTip(L10n::text("Add Folder…", language));
    m_emptyAddButton->setText(L10n::text("Add Folder…", language));
    m_emptyText->setText(L10n::text("Add a folder of programs to see it here.", language));
}

void FileSidebar::rebuild()
{
    // The model re-reads the trees after every save; the folders the user had
    // open must not all snap shut because of that.
    const QSet<QUrl> expanded = expandedFolders({});
    m_treeModel->setRoots(m_model.fileTreeRoots());
    expandRemembered({}, expanded);
    m_pages->setCurrentIndex(m_model.fileTreeRoots().isEmpty() ? 1 : 0);
}

QSet<QUrl> FileSidebar::expandedFolders(const QModelIndex &parent) const
{
    QSet<QUrl> found;
    for (int row = 0; row < m_treeModel->rowCount(parent); ++row) {
        const QModelIndex index = m_treeModel->index(row, 0, parent);
        if (m_tree->isExpanded(index)) {
            found.insert(index.data(FileTreeModel::UrlRole).toUrl());
            found.unite(expandedFolders(index));
        }
    }
    return found;
}

void FileSidebar::expandRemembered(const QModelIndex &parent, const QSet<QUrl> &expanded)
{
    if (expanded.isEmpty()) {
        return;
    }
    for (int row = 0; row < m_treeModel->rowCount(parent); ++row) {
        const QModelIndex index = m_treeModel->index(row, 0, parent);
        if (expanded.contains(index.data(FileTreeModel::UrlRole).toUrl())) {
            m_treeModel->fetchMore(index);
            m_tree->expand(index);
            expandRemembered(index, expanded);
        }
    }
}

void FileSidebar::openIndex(const QModelIndex &index)
{
    const FileNode *node = m_treeModel->node(index);
    if (QGuiApplication::keyboardModifiers() & (Qt::ControlModifier | Qt::ShiftModifier)) {
        return; // extending the selection, not opening
    }
    if (node && !node->isDirectory()) {
        m_model.openFile(node->url());
    }
}

QList<QUrl> FileSidebar::selectedPrograms() const
{
    QList<QUrl> urls;
    for (const QModelIndex &index : m_tree->selectionModel()->selectedRows()) {
        const FileNode *node = m_treeModel->node(index);
        if (node && !node->isDirectory()) {
            urls.append(node->url());
        }
    }
    return urls;
}

void FileSidebar::reveal(const QUrl &url)
{
    if (Dialogs *dialogs = m_model.dialogs()) {
        dialogs->reveal(url);
        return;
    }
    // Without the window's dialogs, the file manager still opens on the folder.
    const QFileInfo info(url.toLocalFile());
    QDesktopServices::openUrl(QUrl::fromLocalFile(info.isDir() ? info.filePath() : info.path()));
}

QMenu *FileSidebar::contextMenu(const QModelIndex &index)
{
    const AppLanguage language = m_model.language();
    auto *menu = new QMenu(this);
    const FileNode *node = m_treeModel->node(index);
    if (!node) {
        menu->addAction(L10n::text("Add Folder…", language), this, [this] { m_model.addFolders(); });
        return menu;
    }
    const QUrl url = node->url();
    if (!node->isDirectory()) {
        menu->addAction(L10n::text("Open", language), this, [this, url] { m_model.openFile(url); });
    }
    const QList<QUrl> programs = selectedPrograms();
    if (programs.size() == 2) {
        menu->addAction(L10n::text("Compare Selected Files", language), this, [this, programs] {
            CompareView::compareFiles(m_model, programs[0], programs[1], window());
        });
    }
    menu->addAction(L10n::text("Reveal in File Manager", language), this, [this, url] { reveal(url); });
    if (m_treeModel->isRoot(index)) {
        menu->addSeparator();
        menu->addAction(L10n::text("Remove Folder", language), this, [this, url] { m_model.removeFolder(url); });
    }
    return menu;
}
