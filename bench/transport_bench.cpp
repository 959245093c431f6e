// Throughput of the termios transport through a pty into a machine that keeps
// up, and how late a cancel lands while the machine holds the line.
//
// The pty pair and the machine emulator are the test suite's own.

#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"
#include "transport/posixserialtransport.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <future>
#include <random>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

SerialLineSettings line()
{
    SerialLineSettings s;
    s.baudRate = 115200;
    s.flowControl = 1;
    return s;
}

const QByteArray &tenMegabytes()
{
    static const QByteArray payload = ProgramGenerator::milling(10 * 1000 * 1000).toLatin1();
    return payload;
}

void writeThroughput(benchmark::State &state)
{
    const QByteArray &payload = tenMegabytes();
    for (auto _ : state) {
        PtyPair pty;
        if (!pty.isOpen()) {
            state.SkipWithError("no pty");
            return;
        }
        MachineEmulator machine(pty, {.expected = payload, .lifetime = 60s});
        machine.start();
        PosixSerialTransport transport(pty.slavePath());
        if (transport.open(line())) {
            state.SkipWithError("open failed");
            return;
        }
        const auto start = Clock::now();
        const auto error = transport.write(payload);
        const bool complete = machine.waitForBytes(payload.size(), 30s);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (error || !complete || !machine.receivedExactly()) {
            state.SkipWithError("payload did not arrive intact");
            return;
        }
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * payload.size());
    state.counters["MB"] = benchmark::Counter(double(payload.size()) / 1e6 * double(state.iterations()),
                                              benchmark::Counter::kIsRate);
}
BENCHMARK(writeThroughput)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

// Cancel at a random moment of the poll interval, so the median is honest.
void cancelLatencyWhileHeld(benchmark::State &state)
{
    const QByteArray payload = ProgramGenerator::milling(512 * 1024).toLatin1();
    std::mt19937 random(7);
    std::uniform_int_distribution<int> phase(0, 150);
    std::vector<double> latencies;
    for (auto _ : state) {
        PtyPair pty;
        MachineEmulator machine(pty, {.expected = payload, .holds = {MachineEmulator::Hold{.atByte = 1}}});
        machine.start();
        PosixSerialTransport transport(pty.slavePath());
        if (transport.open(line())) {
            state.SkipWithError("open failed");
            return;
        }
        auto result = std::async(std::launch::async, [&] { return transport.write(payload); });
        if (!machine.waitUntilHolding(3s)) {
            state.SkipWithError("machine never held the line");
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(phase(random)));
        const auto start = Clock::now();
        transport.interrupt();
        const auto error = result.get();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (!error || error->kind != TransportError::Kind::cancelled) {
            state.SkipWithError("write did not end cancelled");
            return;
        }
        state.SetIterationTime(seconds);
        latencies.push_back(seconds * 1000);
    }
    std::sort(latencies.begin(), latencies.end());
    state.counters["median_ms"] = latencies[latencies.size() / 2];
    state.counters["max_ms"] = latencies.back();
}
BENCHMARK(cancelLatencyWhileHeld)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);

} // namespace
