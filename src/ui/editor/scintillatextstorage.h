#pragma once

#include "workspace/editordocument.h"

#include <QPointer>

class GCodeEditor;

// A document's text kept in the editor widget's buffer (a gap buffer of UTF-8
// bytes) instead of a QString. The document reads and writes it in UTF-16
// units; the editor translates. When the editor is gone the storage is empty
// and ignores writes: the document detaches it before that in normal use.
class ScintillaTextStorage final : public DocumentTextStorage {
public:
    explicit ScintillaTextStorage(GCodeEditor *editor);
    ~ScintillaTextStorage() override;

    qsizetype length() const override;
    QString text() const override;
    void setText(const QString &text) override;
    void replace(qsizetype position, qsizetype removed, const QString &inserted) override;
    qsizetype firstDifference(qsizetype position, QStringView expected) const override;
    QString textRange(qsizetype position, qsizetype length) const override;
    QList<QByteArray> utf8Blocks() const override;
    void setUtf8Blocks(QList<QByteArray> blocks) override;

private:
    QPointer<GCodeEditor> m_editor;
};
