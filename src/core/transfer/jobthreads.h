#pragma once

#include <QtGlobal>

#include <map>
#include <thread>

// The worker threads of a controller that runs one job at a time (a send, a
// receive). Every start and every cancel raises the generation; events carry
// the generation of their job and only the current one's are applied, so a
// cancelled job's late words are dropped. A thread is kept until its final
// event has arrived, when joining it costs nothing.
class JobThreads {
public:
    ~JobThreads() { stopAll(); }

    // The generation for a job about to start.
    quint64 next() { return ++m_generation; }
    void add(quint64 generation, std::jthread thread) { m_threads.emplace(generation, std::move(thread)); }
    // Asks the current job to stop; nothing it reports afterwards counts.
    void stopCurrent()
    {
        if (const auto current = m_threads.find(m_generation); current != m_threads.end())
            current->second.request_stop();
        ++m_generation;
    }
    // True when an event of `generation` belongs to the current job; a final
    // event lets its thread go.
    bool accept(quint64 generation, bool final)
    {
        if (final)
            m_threads.erase(generation);
        return generation == m_generation;
    }
    // Asks every job to stop first so they wind down together, then joins them.
    void stopAll()
    {
        for (auto &[generation, thread] : m_threads)
            thread.request_stop();
        m_threads.clear();
    }

private:
    quint64 m_generation = 0;
    std::map<quint64, std::jthread> m_threads;
};
