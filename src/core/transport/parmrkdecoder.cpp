#include "parmrkdecoder.h"

#include <cstring>

void ParmrkDecoder::decode(const char *data, qsizetype size, ReceivedBytes &into)
{
    // No reserve here: growing by exactly each chunk would defeat the
    // buffer's geometric growth and copy a long program over and over.
    QByteArray &out = into.bytes;
    qsizetype i = 0;
    while (i < size) {
        if (m_pending == 0) {
            // The common case is a long run without any 0xFF: copy it whole.
            const void *mark = std::memchr(data + i, 0xFF, static_cast<size_t>(size - i));
            const qsizetype runEnd = mark ? static_cast<const char *>(mark) - data : size;
            out.append(data + i, runEnd - i);
            i = runEnd;
            if (i < size) {
                m_pending = 1;
                ++i;
            }
            continue;
        }
        const char c = data[i++];
        if (m_pending == 1) {
            if (c == '\xFF') {
                out.append('\xFF');
                m_pending = 0;
            } else if (c == '\0') {
                m_pending = 2;
            } else {
                // Not a mark after all: keep both bytes.
                out.append('\xFF');
                out.append(c);
                m_pending = 0;
            }
        } else {
            into.errorOffsets.append(out.size());
            out.append(c);
            m_pending = 0;
        }
    }
}
