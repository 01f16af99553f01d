#pragma once

#include "support/LogOne.h"
#include "support/MC_Critical_Section.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

/// Internals of the logger. Locks are taken in the order API lock, registry lock; both are recursive.

/// The lock of every logger's state and file.
MC_Critical_Section& RegistryLock() noexcept;
/// The lock that a `LogOne...` function holds for its whole run.
MC_Critical_Section& ApiLock() noexcept;

/// @return whether no thread is inside a logger. During exit a killed thread's lock is never released, and newer
/// Windows
///   ends a process that tries to take it.
bool LoggersAtRest() noexcept;

/// False before the module's static objects are built and after the registry is torn down: nothing is logged then, and
/// the locks must not be touched.
bool LoggingAlive() noexcept;

/// The process's loggers by id. Every operation takes the registry lock.
class LoggerRegistry {
public:
    LoggerRegistry() noexcept;
    /// Waits for no lock: if a killed thread holds one, the system frees the loggers with the process.
    ~LoggerRegistry();

    LoggerRegistry(const LoggerRegistry&) = delete;
    LoggerRegistry& operator=(const LoggerRegistry&) = delete;

    /// @return the id of the logger on this path: of the one there is, else of the new one. Ids start at 1.
    /// @throws std::bad_alloc when memory is exhausted.
    uint32_t Add(const char* path, std::unique_ptr<LogOne> logger);
    void Remove(uint32_t id) noexcept;
    /// @return null for an unknown id. The logger lives until `Remove`; the API lock prevents that.
    LogOne* Find(uint32_t id) noexcept;

private:
    struct Node {
        uint32_t id;
        std::unique_ptr<Node> next;
        std::unique_ptr<LogOne> logger;
        std::string path;
        // Deliberate: nothing enters it.
        MC_Critical_Section lock{true};
    };

    std::unique_ptr<Node> first_;
    uint32_t count_ = 0; // loggers ever added
};

LoggerRegistry& Registry() noexcept;

/// The add-in's own logger. Its threshold stands apart, so that a dropped statement costs one atomic read.
struct AddinLogger {
    static constexpr int32_t kNoLevel = INT32_MIN;
    std::atomic<uint32_t> id{0}; // 0: not open
    std::atomic<int32_t> threshold{kNoLevel};
};
extern AddinLogger g_addinLogger;
