#pragma once

#include "machines/machine.h"
#include "transfer/transferevent.h"
#include "transport/serialtransport.h"
#include "base/l10n.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <stop_token>
#include <thread>

// Turns a program into the bytes a machine expects and runs one transfer over
// a SerialTransport, reporting it as TransferEvents. It holds no state.
//
// Failure contract: nothing throws. Every transfer reports connecting first and
// ends with exactly one finished, failed or cancelled event, and the transport
// is closed before that last event is reported.
class GCodeSender {
public:
    using EventSink = std::function<void(const TransferEvent &event)>;

    // Bytes written per call, and so how often progress is reported and how
    // soon a cancellation between chunks is seen.
    static constexpr qsizetype chunkSize = 256;

    // Every line ending ("\r\n", "\r" or "\n") becomes the machine's terminator
    // and the last line gets one too; one trailing empty line is dropped.
    // Characters Latin-1 cannot hold become '?'. Empty text, or a lone line
    // break, gives no bytes.
    static QByteArray preparePayload(const QString &content, Machine::LineTerminator terminator);

    // Runs the whole transfer on the calling thread, blocking until it ends,
    // and hands every event to `sink` on this thread in order. A stop request
    // interrupts the transport, so a write or drain held by the machine ends
    // within about 150 ms.
    static void send(const QByteArray &payload, const Machine &machine, SerialTransport &transport,
                     AppLanguage language, std::stop_token stop, const EventSink &sink);

    // Runs send() on a thread of its own, which owns the transport. The sink is
    // called on that thread. request_stop() on the returned thread cancels;
    // destroying it cancels and waits for the transfer to end.
    static std::jthread start(QByteArray payload, Machine machine, std::unique_ptr<SerialTransport> transport,
                              AppLanguage language, EventSink sink);
};
