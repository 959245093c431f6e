// Receiving: a 100 MB program from a machine through a pty into a finished
// document text, and how late a cancel lands while waiting for the machine.
//
// The pty pair and the program generator are the test suite's own.

#include "programgenerator.h"
#include "ptypair.h"
#include "transfer/gcodereceiver.h"
#include "transport/posixserialtransport.h"

#include <benchmark/benchmark.h>

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Kind = GCodeReceiver::Event::Kind;

namespace {

Machine machine()
{
    Machine m;
    m.baudRate = 115200;
    m.flowControl = Machine::FlowControl::xonXoff;
    return m;
}

const QByteArray &hundredMegabytes()
{
    static const QByteArray payload = [] {
        QByteArray body = ProgramGenerator::milling(100 * 1000 * 1000).toLatin1();
        body.replace('%', ' '); // only the framing below may close the program
        return QByteArray("%\n") + body + QByteArray("\n%");
    }();
    return payload;
}

void playMachine(int master, const QByteArray &bytes)
{
    for (qsizetype offset = 0; offset < bytes.size();) {
        const ssize_t n = ::write(master, bytes.constData() + offset, size_t(std::min<qsizetype>(bytes.size() - offset, 1 << 16)));
        if (n > 0) {
            offset += n;
        } else {
            // A pty master is not always woken when the slave's queue drains;
            // a short poll keeps the machine from idling on a missed wake-up.
            pollfd p{master, POLLOUT, 0};
            ::poll(&p, 1, 1);
        }
    }
}

void receiveThroughput(benchmark::State &state)
{
    const QByteArray &payload = hundredMegabytes();
    for (auto _ : state) {
        PtyPair pty;
        if (!pty.isOpen()) {
            state.SkipWithError("no pty");
            return;
        }
        PosixSerialTransport transport(pty.slavePath());
        std::shared_ptr<const ReceivedProgram> program;
        std::atomic<bool> listening{false};
        Clock::time_point start;
        std::thread machineThread([&] {
            while (!listening) {
                std::this_thread::sleep_for(1ms);
            }
            start = Clock::now();
            playMachine(pty.masterFd(), payload);
        });
        std::stop_source never;
        GCodeReceiver::receive(machine(), transport, GCodeReceiver::Options{}, AppLanguage::english,
                               never.get_token(), [&](const GCodeReceiver::Event &event) {
                                   listening = listening || event.kind == Kind::waiting;
                                   if (event.kind == Kind::program) {
                                       program = event.program;
                                   }
                               });
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        machineThread.join();
        if (!program || program->raw != payload || program->end != ReceivedProgram::End::percent) {
            state.SkipWithError("program did not arrive intact");
            return;
        }
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * payload.size());
    state.counters["MB"] = benchmark::Counter(double(payload.size()) / 1e6 * double(state.iterations()),
                                              benchmark::Counter::kIsRate);
}
BENCHMARK(receiveThroughput)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

// The ceiling the pty itself sets: the same line settings and reads, the bytes
// dropped as they come, no program kept.
void receivePtyBaseline(benchmark::State &state)
{
    const QByteArray &payload = hundredMegabytes();
    for (auto _ : state) {
        PtyPair pty;
        PosixSerialTransport transport(pty.slavePath());
        if (!pty.isOpen() || transport.open(GCodeReceiver::lineSettings(machine()))) {
            state.SkipWithError("no pty");
            return;
        }
        const Clock::time_point start = Clock::now();
        std::thread machineThread([&] { playMachine(pty.masterFd(), payload); });
        qint64 got = 0;
        ReceivedBytes rx;
        while (got < payload.size()) {
            rx.bytes.clear();
            if (transport.read(rx, 1s) || rx.bytes.isEmpty())
                break;
            got += rx.bytes.size();
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        machineThread.join();
        if (got != payload.size()) {
            state.SkipWithError("bytes lost");
            return;
        }
        state.SetIterationTime(seconds);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * payload.size());
}
BENCHMARK(receivePtyBaseline)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

// Cancel at a random moment of the poll interval, so the median is honest.
void receiveCancelLatency(benchmark::State &state)
{
    std::mt19937 random(11);
    std::uniform_int_distribution<int> phase(0, 150);
    std::vector<double> latencies;
    for (auto _ : state) {
        PtyPair pty;
        std::atomic<bool> listening{false};
        std::jthread receiver = GCodeReceiver::start(
            machine(), std::make_unique<PosixSerialTransport>(pty.slavePath()), GCodeReceiver::Options{},
            AppLanguage::english, [&](const GCodeReceiver::Event &event) {
                listening = listening || event.kind == Kind::waiting;
            });
        while (!listening) {
            std::this_thread::sleep_for(1ms);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(phase(random)));
        const auto start = Clock::now();
        receiver.request_stop();
        receiver.join();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        latencies.push_back(seconds * 1000);
    }
    std::sort(latencies.begin(), latencies.end());
    state.counters["median_ms"] = latencies[latencies.size() / 2];
    state.counters["max_ms"] = latencies.back();
}
BENCHMARK(receiveCancelLatency)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(21);

} // namespace
