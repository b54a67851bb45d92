#pragma once
// A MappingKeeper on a thread of its own, so that a slow or silent router never holds up the session
// loop: it starts asking at once, and on stop() removes the mapping before the thread ends.

#include "tools/session/net/portmap/mapping_keeper.hpp"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace korvath::session_tool {

class MappingThread {
public:
    explicit MappingThread(MappingKeeper keeper);
    ~MappingThread(); // stop()
    MappingThread(const MappingThread&) = delete;
    MappingThread& operator=(const MappingThread&) = delete;

    // The latest view; any thread.
    auto view() const -> MappingView;
    // Removes the mapping and ends the thread; blocks for the router's answer (a few seconds at most).
    // The owner's thread.
    auto stop() -> void;

private:
    auto run() -> void;

    MappingKeeper m_keeper; // the worker's
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;  // under m_mutex
    MappingView m_shared; // under m_mutex
    std::thread m_thread;
};

} // namespace korvath::session_tool
