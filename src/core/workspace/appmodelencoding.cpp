// Opening a program written in an 8-bit code page: the model asks which one,
// likeliest first, and reads the file again in the answer. The document then
// keeps that encoding and saves in it.
#include "appmodel.h"

#include "workspace/dialogs.h"

bool AppModel::reloadInChosenEncoding(EditorDocument *doc, const EncodingSample &sample)
{
    if (!m_dialogs) {
        return false;
    }
    const QUuid id = doc->id();
    EncodingQuestion question;
    question.title = L10n::text("Choose an Encoding", m_language);
    question.message = L10n::format("%@ is not UTF-8 text. Choose the code page it was written in; the lines "
                                    "below show how it reads them.",
                                    m_language, {doc->displayName(m_language)});
    question.applyLabel = L10n::text("Open", m_language);
    question.cancelLabel = L10n::text("Cancel", m_language);
    question.encodings = EncodingGuess::rank(sample);
    question.sample = sample;
    const std::optional<TextEncoding> chosen = m_dialogs->chooseEncoding(question);

    // The question is modal but the event loop ran: the tab may have gone.
    doc = document(id);
    if (!doc) {
        return true;
    }
    if (!chosen || *chosen == TextEncoding::utf8) {
        // The user's own answer needs no alert on top; the tab just goes.
        removeDocument(doc);
        emit documentsChanged();
        ensureOneDocument();
        return true;
    }
    loadFileInBackground(doc, *chosen);
    return true;
}
