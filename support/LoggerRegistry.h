#pragma once

#include "support/LogOne.h"
#include "support/MC_Critical_Section.h"

#include <cstdint>
#include <memory>
#include <string>

/// Internals of the logger. Locks are taken in the order API lock, registry lock; both are recursive.

/// The lock of every logger's state and file.
MC_Critical_Section& RegistryLock() noexcept;
/// The lock that a `LogOne...` function holds for its whole run.
MC_Critical_Section& ApiLock() noexcept;

/// Whether no thread is inside a logger. At the process's end, when the other threads have been killed, a lock that is
/// not free never will be: newer systems end a process at once, with a code of their own, that asks for such a lock.
bool LoggersAtRest() noexcept;

/// False before the module's static objects are built and after the registry is torn down: nothing is logged then, and
/// the locks must not be touched.
bool LoggingAlive() noexcept;

/// The process's loggers by id. Every operation takes the registry lock.
class LoggerRegistry {
public:
    LoggerRegistry() noexcept;
    /// Waits for nobody: loggers that a thread killed at the process's end may still hold are left to the system.
    ~LoggerRegistry();

    LoggerRegistry(const LoggerRegistry&) = delete;
    LoggerRegistry& operator=(const LoggerRegistry&) = delete;

    /// @return the id of the logger on this path: of the one there is, else of the new one. Ids start at 1.
    /// @throws std::bad_alloc when memory is exhausted.
    uint32_t Add(const char* path, std::unique_ptr<LogOne> logger);
    void Remove(uint32_t id) noexcept;
    /// @return null for an unknown id. The logger lives until `Remove`; the API lock keeps that away.
    LogOne* Find(uint32_t id) noexcept;

private:
    struct Node {
        uint32_t id;
        std::unique_ptr<Node> next;
        std::unique_ptr<LogOne> logger;
        std::string path;
        // Deliberate: nothing enters it. Each logger had a lock of its own once; the node keeps its place.
        MC_Critical_Section lock{true};
    };

    std::unique_ptr<Node> first_;
    uint32_t count_ = 0; // loggers ever added
};

LoggerRegistry& Registry() noexcept;
