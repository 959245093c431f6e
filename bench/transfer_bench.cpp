// The whole sender (payload in chunks, progress events, drain, close) over the
// termios transport into a machine on a pty: how fast when the machine keeps up,
// how close to line time when it reads at 115200 8N1, how late a cancel lands
// while the machine holds the line.

#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"
#include "transfer/gcodesender.h"
#include "transport/posixserialtransport.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

Machine fadal115200()
{
    Machine m = Machine::defaults()[1];
    m.baudRate = 115200;
    return m;
}

QByteArray payloadOf(qint64 bytes)
{
    return GCodeSender::preparePayload(ProgramGenerator::milling(bytes, 20261121, true),
                                       Machine::LineTerminator::crlf);
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Runs one whole transfer on this thread; true when it finished and the machine
// got every byte right.
// `senderDone` is when the sender reported finished; a pty reports an empty
// output queue, so that can come before the machine has read its buffer.
bool sendAll(const QByteArray &payload, MachineEmulator &machine, SerialTransport &transport,
             Clock::time_point *senderDone = nullptr)
{
    bool finished = false;
    GCodeSender::send(
        payload, fadal115200(), transport, AppLanguage::english, {},
        [&](const TransferEvent &event) { finished = event.kind == TransferEvent::Kind::finished; });
    if (senderDone) {
        *senderDone = Clock::now();
    }
    return finished && machine.waitForBytes(payload.size(), 60s) && machine.receivedExactly();
}

// A machine that keeps up. The transport's 300 ms settle after the drain is a
// fixed wait per program, not a rate, so it is left out here (settle 0); the
// paced case below keeps it.
void senderThroughput(benchmark::State &state)
{
    static const QByteArray payload = payloadOf(10 * 1000 * 1000);
    for (auto _ : state) {
        PtyPair pty;
        if (!pty.isOpen()) {
            state.SkipWithError("no pty");
            return;
        }
        MachineEmulator machine(pty, {.expected = payload, .lifetime = 60s});
        machine.start();
        PosixSerialTransport transport(pty.slavePath(), 30s, 120s,
                                       PosixSerialTransport::defaultOutputPending(), 150ms, 50ms, 0ms);
        const Clock::time_point start = Clock::now();
        if (!sendAll(payload, machine, transport)) {
            state.SkipWithError("payload did not arrive intact");
            return;
        }
        state.SetIterationTime(secondsSince(start));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * payload.size());
}
BENCHMARK(senderThroughput)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

// 115200 8N1 is 11,520 bytes a second; the product's own limits and settle.
// Done means the sender reported finished and the machine read the last byte.
void senderPaced115200(benchmark::State &state)
{
    constexpr double lineRate = 11520;
    static const QByteArray payload = payloadOf(100 * 1024);
    const double lineTime = double(payload.size()) / lineRate;
    double worstOverhead = 0;
    double senderAhead = 0;
    for (auto _ : state) {
        PtyPair pty;
        MachineEmulator machine(pty, {.expected = payload, .bytesPerSecond = lineRate, .lifetime = 30s});
        PosixSerialTransport transport(pty.slavePath());
        // The machine's pace counts from its own start; starting the clock first
        // keeps any credit it builds up before the first byte inside the figure.
        const Clock::time_point start = Clock::now();
        machine.start();
        Clock::time_point senderDone;
        if (!sendAll(payload, machine, transport, &senderDone)) {
            state.SkipWithError("payload did not arrive intact");
            return;
        }
        const double seconds = secondsSince(start);
        worstOverhead = std::max(worstOverhead, seconds - lineTime);
        senderAhead = std::max(senderAhead, std::chrono::duration<double>(Clock::now() - senderDone).count());
        state.SetIterationTime(seconds);
    }
    state.counters["bytes"] = double(payload.size());
    state.counters["line_time_s"] = lineTime;
    state.counters["worst_overhead_s"] = worstOverhead;
    state.counters["finished_before_last_byte_s"] = senderAhead;
}
BENCHMARK(senderPaced115200)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

// From the stop request to the sender's cancelled event (the port is closed
// before that event), at a random moment of the 150 ms poll.
void senderCancelLatency(benchmark::State &state)
{
    static const QByteArray payload = payloadOf(256 * 1024);
    std::mt19937 random(11);
    std::uniform_int_distribution<int> phase(0, 150);
    std::vector<double> latencies;
    for (auto _ : state) {
        PtyPair pty;
        MachineEmulator machine(pty, {.expected = payload, .holds = {MachineEmulator::Hold{.atByte = 1}}});
        machine.start();
        std::atomic<bool> cancelled{false};
        std::atomic<Clock::rep> endedAt{0};
        std::jthread sender = GCodeSender::start(
            payload, fadal115200(), std::make_unique<PosixSerialTransport>(pty.slavePath()),
            AppLanguage::english, [&](const TransferEvent &event) {
                if (event.isFinal()) {
                    endedAt = Clock::now().time_since_epoch().count();
                    cancelled = event.kind == TransferEvent::Kind::cancelled;
                }
            });
        if (!machine.waitUntilHolding(3s)) {
            state.SkipWithError("machine never held the line");
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(phase(random)));
        const Clock::time_point stop = Clock::now();
        sender.request_stop();
        sender.join();
        if (!cancelled) {
            state.SkipWithError("transfer did not end cancelled");
            return;
        }
        const double seconds =
            std::chrono::duration<double>(Clock::time_point(Clock::duration(endedAt.load())) - stop).count();
        state.SetIterationTime(seconds);
        latencies.push_back(seconds * 1000);
    }
    std::sort(latencies.begin(), latencies.end());
    state.counters["cancels"] = double(latencies.size());
    state.counters["median_ms"] = latencies[latencies.size() / 2];
    state.counters["max_ms"] = latencies.back();
}
BENCHMARK(senderCancelLatency)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);

} // namespace
