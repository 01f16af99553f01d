#include "support/LoggerRegistry.h"

namespace {

std::atomic<bool> g_alive{false}; // Needs no construction: readable before and after everything below.

// In this order: the registry is destroyed first, its locks after it.
MC_Critical_Section g_apiLock(true);
MC_Critical_Section g_registryLock(true);
LoggerRegistry g_registry;

} // namespace

constinit AddinLogger g_addinLogger;

MC_Critical_Section& RegistryLock() noexcept {
    return g_registryLock;
}

MC_Critical_Section& ApiLock() noexcept {
    return g_apiLock;
}

bool LoggersAtRest() noexcept {
    if (!g_apiLock.TryLock()) {
        return false;
    }
    const bool atRest = g_registryLock.TryLock() != 0;
    if (atRest) {
        g_registryLock.Unlock();
    }
    g_apiLock.Unlock();
    return atRest;
}

bool LoggingAlive() noexcept {
    return g_alive.load(std::memory_order_acquire);
}

LoggerRegistry& Registry() noexcept {
    return g_registry;
}

LoggerRegistry::LoggerRegistry() noexcept {
    g_alive.store(true, std::memory_order_release);
}

LoggerRegistry::~LoggerRegistry() {
    g_alive.store(false, std::memory_order_release);
    if (!g_registryLock.TryLock()) {
        // A thread was killed inside a line and still holds the lock. Every line was flushed; the system frees the
        // rest.
        static_cast<void>(first_.release());
        return;
    }
    first_.reset();
    g_registryLock.Unlock();
}

uint32_t LoggerRegistry::Add(const char* path, std::unique_ptr<LogOne> logger) {
    const MC_Lock lock(&g_registryLock);
    std::unique_ptr<Node>* tail = &first_;
    for (; *tail != nullptr; tail = &(*tail)->next) {
        if ((*tail)->path == path && (*tail)->logger != nullptr) {
            return (*tail)->id;
        }
    }
    *tail = std::make_unique<Node>(count_ + 1, nullptr, std::move(logger), path);
    return ++count_;
}

void LoggerRegistry::Remove(uint32_t id) noexcept {
    const MC_Lock lock(&g_registryLock);
    for (std::unique_ptr<Node>* link = &first_; *link != nullptr; link = &(*link)->next) {
        if ((*link)->id == id) {
            const std::unique_ptr<Node> removed = std::move(*link);
            *link = std::move(removed->next);
            return;
        }
    }
}

LogOne* LoggerRegistry::Find(uint32_t id) noexcept {
    const MC_Lock lock(&g_registryLock);
    for (const Node* node = first_.get(); node != nullptr; node = node->next.get()) {
        if (node->id == id) {
            return node->logger.get();
        }
    }
    return nullptr;
}
